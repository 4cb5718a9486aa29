// A screen that shows one link inside the app, offered to the host: a web
// page under the title "WebPage" and a cancel button. Links the user taps in
// the page are not followed there but opened with the system.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "orvanta/open_in_service.h"
#include "orvanta/platform/views.h"

namespace orvanta {

// Used on the main queue, as the views are. The host sets strLink, then
// presents the screen (viewDidLoad); the library never shows it itself.
class WebViewController {
 public:
  // views: the host's screen, nullptr when there is none (nothing shows, a
  // log line says so). openIn opens the tapped links; it must outlive this.
  WebViewController(std::shared_ptr<Views> views, OpenInService& openIn);
  // A screen still shown is dismissed.
  ~WebViewController();
  WebViewController(const WebViewController&) = delete;
  WebViewController& operator=(const WebViewController&) = delete;

  std::optional<std::string> strLink() const;
  void setStrLink(std::optional<std::string> link);
  // The shown screen's id (see Views::presentWebScreen); 0 when none is shown.
  int webView() const;

  // Shows strLink on a screen of its own.
  void viewDidLoad();
  // Stops loading, forgets the screen and strLink, and dismisses it; what
  // the dismissed page does afterwards reaches nothing.
  void cancel();

 private:
  // Shared with the screen's callbacks, which hold it weakly.
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace orvanta
