#pragma once

#include <mutex>
#include <string_view>

namespace orvanta::cli {

// Whole lines to standard output, from any thread (network completions print
// too). Each line is flushed at once, so that what a killed process printed
// before it died is all there.
class Output {
 public:
  explicit Output(bool traceExchanges) : traceExchanges_(traceExchanges) {}

  // A result of the command: always printed.
  void line(std::string_view text);
  // One HTTP exchange of the library: printed unless --quiet was given.
  void exchange(std::string_view text);
  // A diagnostic for the person at the terminal: to standard error.
  void note(std::string_view text);

 private:
  const bool traceExchanges_;
  std::mutex mutex_;
};

}  // namespace orvanta::cli
