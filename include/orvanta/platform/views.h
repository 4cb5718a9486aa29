#pragma once

#include <functional>
#include <string>

namespace orvanta {

struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
};

enum class Orientation { Portrait, PortraitUpsideDown, LandscapeLeft, LandscapeRight };

// A web page shown over the host's screen, whose script can call two
// functions of the library by name.
struct WebPageRequest {
  std::string url;
  Rect frame;
  // Called with the function name ("closeAction", "intentAction") and its
  // argument text, on the main queue.
  std::function<void(const std::string& function, const std::string& argument)> scriptCall;
  std::function<void()> loaded;
  std::function<void()> failed;
};

// A web page on a screen of its own, under a navigation bar with a title and
// the system's cancel button on the left. The page fills the screen (white
// behind it, scaled to fit, telephone numbers and links detected).
struct WebScreenRequest {
  std::string url;
  std::string title;
  std::function<void()> cancelTapped;
  // Before each navigation of the page: whether the screen loads url.
  // linkTapped: it starts from a link the user tapped inside the page.
  std::function<bool(const std::string& url, bool linkTapped)> shouldStartLoad;
};

// The host's screen. Every call is made on the main queue.
class Views {
 public:
  virtual ~Views() = default;
  virtual Rect screenBounds() const = 0;
  virtual Orientation orientation() const = 0;
  // Shows a web page; answers an id for dismissWebPage, 0 when nothing can be shown.
  virtual int presentWebPage(WebPageRequest request) = 0;
  virtual void dismissWebPage(int id) = 0;
  // Shows a web screen; answers an id for dismissWebScreen, 0 when nothing
  // can be shown.
  virtual int presentWebScreen(WebScreenRequest request) = 0;
  // Stops its loading and dismisses it, animated; its callbacks are not
  // called after this returns.
  virtual void dismissWebScreen(int id) = 0;
};

}  // namespace orvanta
