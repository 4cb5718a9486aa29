#pragma once

#include <memory>
#include <mutex>

namespace orvanta {

// A component made on first use, once, even when several threads ask at once.
template <typename T>
class Lazy {
 public:
  template <typename Make>
  T& get(Make&& make) {
    std::call_once(once_, [&] { value_ = make(); });
    return *value_;
  }

 private:
  std::once_flag once_;
  std::unique_ptr<T> value_;
};

}  // namespace orvanta
