#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "orvanta/value.h"

namespace orvanta {

struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
  friend bool operator==(const Rect&, const Rect&) = default;
};

// The status bar's orientation.
enum class Orientation { Portrait, PortraitUpsideDown, LandscapeLeft, LandscapeRight };

inline bool isLandscape(Orientation orientation) {
  return orientation == Orientation::LandscapeLeft || orientation == Orientation::LandscapeRight;
}

// The layer a popup lies on, added to the host's window: as large as the
// screen and resized with it, dimmed (dark grey at alpha 0.3), and under
// the page a clear button as large as the layer.
struct DimmingLayerRequest {
  // A tap on the layer's button, that is outside the page.
  std::function<void()> outsideTapped;
};

// A web page on a dimming layer: transparent, scaled to fit and not
// zoomable, its scroll view does not bounce, telephone numbers and links
// detected. It is loaded ignoring the local cache, with a 60-second time-out.
struct WebPageRequest {
  std::string url;
  Rect frame;
  // What the page shows, for screens that describe pages rather than draw
  // them: the id of the rule ("" when none) and the popup's layout number.
  std::string ruleId;
  std::int64_t popupType = 0;
  // Each time a page has finished loading in it. The functions installed
  // into the page before are gone then: a new page starts without them.
  std::function<void()> loaded;
};

// A global function of the page's script. It gets the script's arguments
// as values (null, booleans, numbers, strings, arrays, maps), on a thread of
// the script engine's choosing, and returns nothing to the page.
using ScriptFunction = std::function<void(const std::vector<Value>& arguments)>;

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

// The host's screen. Every call is made on the main queue. The callbacks
// handed in may be called on any thread; ids are never 0 and never reused.
class Views {
 public:
  virtual ~Views() = default;
  virtual Rect screenBounds() const = 0;
  virtual Orientation orientation() const = 0;
  // changed is called after each change of orientation (the bounds may have
  // changed with it). A later call replaces the listener; an empty one
  // removes it.
  virtual void setOrientationListener(std::function<void()> changed) = 0;

  // Adds a dimming layer to the window; answers its id, 0 when nothing can be
  // shown.
  virtual int presentDimmingLayer(DimmingLayerRequest request) = 0;
  // Removes it (and what lies on it); its callback is not called after this
  // returns.
  virtual void dismissDimmingLayer(int id) = 0;

  // Adds a web page on the layer and starts loading it; answers its id, 0
  // when nothing can be shown.
  virtual int presentWebPage(int layer, WebPageRequest request) = 0;
  virtual void setWebPageFrame(int id, Rect frame) = 0;
  // Installs function under a global name in the page loaded now.
  virtual void installScriptFunction(int id, const std::string& name, ScriptFunction function) = 0;
  // Stops its loading and removes it; its callbacks and script functions are
  // not called after this returns.
  virtual void dismissWebPage(int id) = 0;

  // Shows a web screen; answers an id for dismissWebScreen, 0 when nothing
  // can be shown.
  virtual int presentWebScreen(WebScreenRequest request) = 0;
  // Stops its loading and dismisses it, animated; its callbacks are not
  // called after this returns.
  virtual void dismissWebScreen(int id) = 0;
};

}  // namespace orvanta
