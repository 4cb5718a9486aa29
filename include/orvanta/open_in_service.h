// Opens links with the system (browser, or the app that owns the link).
#pragma once

#include <memory>
#include <string>

namespace orvanta {

// One per Runtime, which builds it; any thread.
class OpenInService {
 public:
  // The library's side: the platform it opens through.
  struct Impl;
  explicit OpenInService(std::unique_ptr<Impl> impl);
  ~OpenInService();
  OpenInService(const OpenInService&) = delete;
  OpenInService& operator=(const OpenInService&) = delete;

  // The shared runtime's instance (see Runtime::shared).
  static OpenInService& sharedInstance();

  // Every "|" becomes "%7C", then the platform opens the link. Whether
  // anything could open it is not examined.
  void openIn(const std::string& link);

 private:
  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
