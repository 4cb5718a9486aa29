// Following links: the app's own go to the host's delegate, every other one
// (and every one holding "http") to the system.
#include <algorithm>
#include <string_view>

#include "core/sessions.h"
#include "notifications/push_task_manager_impl.h"
#include "orvanta/open_in_service.h"
#include "orvanta/url_query.h"

namespace orvanta {
namespace {

// Whether needle occurs in text, ASCII letters compared without case. An
// empty needle occurs nowhere, as the platform's search has it.
bool containsIgnoringCase(std::string_view text, std::string_view needle) {
  if (needle.empty()) return false;
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return !std::ranges::search(text, needle, {}, lower, lower).empty();
}

}  // namespace

void OrvantaPushTaskManager::handleDeepLink(const std::optional<std::string>& link, const Map& userInfo) {
  const std::shared_ptr<OrvantaPushTaskManagerDelegate> host = delegate();
  const bool hostTakesLinks = host && host->handleNotificationOpenAction;
  if (!link) {
    if (hostTakesLinks) host->handleNotificationOpenAction(userInfo, std::nullopt);
    return;
  }
  if (containsIgnoringCase(*link, "http") || !doesMatchURLScheme(*link)) {
    impl_->openInService.openIn(*link);
    return;
  }
  if (!hostTakesLinks) {
    impl_->logger.log("a notification's link of the app's own scheme is dropped: no delegate takes links");
    return;
  }
  impl_->sessions.setDeepLinkQueryParameters(queryParameters(*link));
  host->handleNotificationOpenAction(userInfo, *link);
}

bool OrvantaPushTaskManager::doesMatchURLScheme(const std::string& link) const {
  return std::ranges::any_of(impl_->urlSchemes,
                             [&link](const std::string& scheme) { return containsIgnoringCase(link, scheme); });
}

void OrvantaPushTaskManager::handleActionWithIdentifier(const std::optional<std::string>& identifier,
                                                        const Map& userInfo, const Map& /*responseInfo*/) {
  if (!identifier) return;
  // An action's identifier is its link.
  handleDeepLink(identifier, userInfo);
  setIsFromActionButton(true);
  handleOpenAction(userInfo);
}

}  // namespace orvanta
