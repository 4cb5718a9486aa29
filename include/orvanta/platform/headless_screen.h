// A screen without a display: it keeps the layers, pages and web screens the
// library shows, with the frames it gives them, and lets its owner play the
// page and the user. For hosts without a display, the host simulator and tests.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "orvanta/platform/views.h"

namespace orvanta {

// Thread-safe. The library calls it on the main queue; the owner may look
// at it from any thread. Its observer, and the callbacks the library handed
// in, are called on the calling thread with no lock held.
class HeadlessScreen : public Views {
 public:
  // One web page as shown now.
  struct Page {
    int id = 0;
    int layer = 0;
    std::string url;
    Rect frame;
    std::string ruleId;
    std::int64_t popupType = 0;
    int loads = 0;                       // times a page finished loading in it
    std::vector<std::string> functions;  // installed in the page loaded now
  };
  // What the owner is told; each member may be empty.
  struct Observer {
    std::function<void(const Page&)> shown;      // presented, with its first frame
    std::function<void(const Page&)> laidOut;    // given a frame
    std::function<void(const Page&)> dismissed;  // removed
  };

  // The size a screen is given when none is named: a small phone's.
  static constexpr double kDefaultWidth = 320;
  static constexpr double kDefaultHeight = 568;

  // width × height: the screen held upright. In a landscape orientation the
  // bounds are height × width, as a phone's screen turns.
  HeadlessScreen(double width, double height, Orientation orientation = Orientation::Portrait);

  Rect screenBounds() const override;
  Orientation orientation() const override;
  void setOrientationListener(std::function<void()> changed) override;
  int presentDimmingLayer(DimmingLayerRequest request) override;
  void dismissDimmingLayer(int id) override;
  int presentWebPage(int layer, WebPageRequest request) override;
  void setWebPageFrame(int id, Rect frame) override;
  void installScriptFunction(int id, const std::string& name, ScriptFunction function) override;
  void dismissWebPage(int id) override;
  int presentWebScreen(WebScreenRequest request) override;
  void dismissWebScreen(int id) override;

  void setObserver(Observer observer);

  // The page presented last among those shown now.
  std::optional<Page> currentPage() const;
  std::optional<Page> page(int id) const;
  // The pages shown now, oldest first.
  std::vector<Page> pages() const;
  // The dimming layers shown now, oldest first.
  std::vector<int> layers() const;
  // The web screens shown now, by id.
  std::map<int, WebScreenRequest> screens() const;

  // The owner plays the page and the user. Each acts on the current page (or
  // the layer under it) and answers false, doing nothing, when there is none.
  // The page finishes loading: the functions installed before are dropped,
  // then its loaded callback runs.
  bool finishLoading();
  // The page's script calls its global function name; false also when the
  // page has no such function (before it has loaded, for example).
  bool callScript(const std::string& name, const std::vector<Value>& arguments);
  // The user taps the layer outside the page.
  bool tapOutside();
  // The device turns: between upright and landscape the bounds swap width
  // and height. The orientation listener is told, even when nothing changed.
  void rotate(Orientation orientation);

 protected:
  // Replaces the bounds and the orientation, telling nobody.
  void setScreen(Rect bounds, Orientation orientation);

 private:
  struct ShownPage {
    Page page;
    std::function<void()> loaded;
    std::map<std::string, ScriptFunction> functions;
  };
  // The page presented last, under mutex_; nullptr when none.
  ShownPage* topPage();
  void notify(const std::function<void(const Page&)> Observer::*event, const Page& page) const;

  mutable std::mutex mutex_;
  Rect bounds_;
  Orientation orientation_;
  std::function<void()> orientationListener_;
  Observer observer_;
  std::map<int, DimmingLayerRequest> layers_;
  std::map<int, ShownPage> pages_;
  std::map<int, WebScreenRequest> screens_;
  int nextId_ = 1;
};

}  // namespace orvanta
