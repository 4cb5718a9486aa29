#include "orvanta/open_in_service.h"

#include <utility>

#include "notifications/open_in_service_impl.h"

namespace orvanta {

OpenInService::OpenInService(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

OpenInService::~OpenInService() = default;

void OpenInService::openIn(const std::string& link) {
  std::string url;
  url.reserve(link.size());
  for (char c : link) {
    if (c == '|') {
      url += "%7C";
    } else {
      url += c;
    }
  }
  // The outcome is the platform's business.
  impl_->appHost.openURL(url);
}

}  // namespace orvanta
