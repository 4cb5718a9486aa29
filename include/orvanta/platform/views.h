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

// The host's screen. Every call is made on the main queue.
class Views {
 public:
  virtual ~Views() = default;
  virtual Rect screenBounds() const = 0;
  virtual Orientation orientation() const = 0;
  // Shows a web page; answers an id for dismissWebPage, 0 when nothing can be shown.
  virtual int presentWebPage(WebPageRequest request) = 0;
  virtual void dismissWebPage(int id) = 0;
};

}  // namespace orvanta
