#include "orvanta/web_view_controller.h"

#include <mutex>
#include <utility>

#include "orvanta/log.h"

namespace orvanta {

namespace {
constexpr const char* kTitle = "WebPage";
}  // namespace

struct WebViewController::State {
  const std::shared_ptr<Views> views;
  OpenInService& openIn;
  mutable std::mutex mutex;  // guards the two below
  std::optional<std::string> strLink;
  int screen = 0;

  void cancel() {
    int shown = 0;
    {
      std::lock_guard lock(mutex);
      shown = std::exchange(screen, 0);
      strLink.reset();
    }
    if (shown != 0) views->dismissWebScreen(shown);
  }
};

WebViewController::WebViewController(std::shared_ptr<Views> views, OpenInService& openIn)
    : state_(std::make_shared<State>(std::move(views), openIn)) {}

WebViewController::~WebViewController() { state_->cancel(); }

std::optional<std::string> WebViewController::strLink() const {
  std::lock_guard lock(state_->mutex);
  return state_->strLink;
}

void WebViewController::setStrLink(std::optional<std::string> link) {
  std::lock_guard lock(state_->mutex);
  state_->strLink = std::move(link);
}

int WebViewController::webView() const {
  std::lock_guard lock(state_->mutex);
  return state_->screen;
}

void WebViewController::viewDidLoad() {
  if (!state_->views) {
    logLine("Orvanta: this platform has no screen to show a web page on");
    return;
  }
  WebScreenRequest request;
  request.url = strLink().value_or("");
  request.title = kTitle;
  const std::weak_ptr<State> weak = state_;
  request.cancelTapped = [weak] {
    if (auto state = weak.lock()) state->cancel();
  };
  // A tapped link leaves the page as it is and opens with the system; every
  // other navigation (the first load, redirects, forms, reloads) loads.
  request.shouldStartLoad = [weak](const std::string& url, bool linkTapped) {
    if (!linkTapped) return true;
    if (auto state = weak.lock()) state->openIn.openIn(url);
    return false;
  };
  const int screen = state_->views->presentWebScreen(std::move(request));
  std::lock_guard lock(state_->mutex);
  state_->screen = screen;
}

void WebViewController::cancel() { state_->cancel(); }

}  // namespace orvanta
