#include "orvanta/platform/headless_screen.h"

#include <utility>

namespace orvanta {

HeadlessScreen::HeadlessScreen(double width, double height, Orientation orientation)
    : bounds_{0, 0, isLandscape(orientation) ? height : width, isLandscape(orientation) ? width : height},
      orientation_(orientation) {}

Rect HeadlessScreen::screenBounds() const {
  std::lock_guard lock(mutex_);
  return bounds_;
}

Orientation HeadlessScreen::orientation() const {
  std::lock_guard lock(mutex_);
  return orientation_;
}

void HeadlessScreen::setOrientationListener(std::function<void()> changed) {
  std::lock_guard lock(mutex_);
  orientationListener_ = std::move(changed);
}

int HeadlessScreen::presentDimmingLayer(DimmingLayerRequest request) {
  std::lock_guard lock(mutex_);
  const int id = nextId_++;
  layers_.emplace(id, std::move(request));
  return id;
}

void HeadlessScreen::dismissDimmingLayer(int id) {
  std::vector<Page> removed;
  {
    std::lock_guard lock(mutex_);
    layers_.erase(id);
    // What lay on the layer goes with it.
    for (auto it = pages_.begin(); it != pages_.end();) {
      if (it->second.page.layer != id) {
        ++it;
        continue;
      }
      removed.push_back(std::move(it->second.page));
      it = pages_.erase(it);
    }
  }
  for (const Page& page : removed) notify(&Observer::dismissed, page);
}

int HeadlessScreen::presentWebPage(int layer, WebPageRequest request) {
  Page page;
  {
    std::lock_guard lock(mutex_);
    if (!layers_.contains(layer)) return 0;
    page = Page{.id = nextId_++,
                .layer = layer,
                .url = std::move(request.url),
                .frame = request.frame,
                .ruleId = std::move(request.ruleId),
                .popupType = request.popupType,
                .loads = 0,
                .functions = {}};
    pages_.emplace(page.id, ShownPage{page, std::move(request.loaded), {}});
  }
  notify(&Observer::shown, page);
  return page.id;
}

void HeadlessScreen::setWebPageFrame(int id, Rect frame) {
  Page page;
  {
    std::lock_guard lock(mutex_);
    const auto it = pages_.find(id);
    if (it == pages_.end()) return;
    it->second.page.frame = frame;
    page = it->second.page;
  }
  notify(&Observer::laidOut, page);
}

void HeadlessScreen::installScriptFunction(int id, const std::string& name, ScriptFunction function) {
  std::lock_guard lock(mutex_);
  const auto it = pages_.find(id);
  if (it == pages_.end()) return;
  std::vector<std::string>& names = it->second.page.functions;
  if (!it->second.functions.contains(name)) names.push_back(name);
  it->second.functions[name] = std::move(function);
}

void HeadlessScreen::dismissWebPage(int id) {
  Page page;
  {
    std::lock_guard lock(mutex_);
    const auto it = pages_.find(id);
    if (it == pages_.end()) return;
    page = std::move(it->second.page);
    pages_.erase(it);
  }
  notify(&Observer::dismissed, page);
}

int HeadlessScreen::presentWebScreen(WebScreenRequest request) {
  std::lock_guard lock(mutex_);
  const int id = nextId_++;
  screens_.emplace(id, std::move(request));
  return id;
}

void HeadlessScreen::dismissWebScreen(int id) {
  std::lock_guard lock(mutex_);
  screens_.erase(id);
}

void HeadlessScreen::setObserver(Observer observer) {
  std::lock_guard lock(mutex_);
  observer_ = std::move(observer);
}

std::optional<HeadlessScreen::Page> HeadlessScreen::currentPage() const {
  std::lock_guard lock(mutex_);
  if (pages_.empty()) return std::nullopt;
  return pages_.rbegin()->second.page;  // ids grow, so the last is the newest
}

std::optional<HeadlessScreen::Page> HeadlessScreen::page(int id) const {
  std::lock_guard lock(mutex_);
  const auto it = pages_.find(id);
  if (it == pages_.end()) return std::nullopt;
  return it->second.page;
}

std::vector<HeadlessScreen::Page> HeadlessScreen::pages() const {
  std::lock_guard lock(mutex_);
  std::vector<Page> shown;
  for (const auto& [id, page] : pages_) shown.push_back(page.page);
  return shown;
}

std::vector<int> HeadlessScreen::layers() const {
  std::lock_guard lock(mutex_);
  std::vector<int> ids;
  for (const auto& [id, layer] : layers_) ids.push_back(id);
  return ids;
}

std::map<int, WebScreenRequest> HeadlessScreen::screens() const {
  std::lock_guard lock(mutex_);
  return screens_;
}

HeadlessScreen::ShownPage* HeadlessScreen::topPage() {
  return pages_.empty() ? nullptr : &pages_.rbegin()->second;
}

bool HeadlessScreen::finishLoading() {
  std::function<void()> loaded;
  {
    std::lock_guard lock(mutex_);
    ShownPage* shown = topPage();
    if (!shown) return false;
    shown->functions.clear();
    shown->page.functions.clear();
    ++shown->page.loads;
    loaded = shown->loaded;
  }
  if (loaded) loaded();
  return true;
}

bool HeadlessScreen::callScript(const std::string& name, const std::vector<Value>& arguments) {
  ScriptFunction function;
  {
    std::lock_guard lock(mutex_);
    ShownPage* shown = topPage();
    if (!shown) return false;
    const auto it = shown->functions.find(name);
    if (it == shown->functions.end()) return false;
    function = it->second;
  }
  if (function) function(arguments);
  return true;
}

bool HeadlessScreen::tapOutside() {
  std::function<void()> tapped;
  {
    std::lock_guard lock(mutex_);
    if (layers_.empty()) return false;
    tapped = layers_.rbegin()->second.outsideTapped;
  }
  if (tapped) tapped();
  return true;
}

void HeadlessScreen::rotate(Orientation orientation) {
  std::function<void()> listener;
  {
    std::lock_guard lock(mutex_);
    if (isLandscape(orientation) != isLandscape(orientation_)) std::swap(bounds_.width, bounds_.height);
    orientation_ = orientation;
    listener = orientationListener_;
  }
  if (listener) listener();
}

void HeadlessScreen::setScreen(Rect bounds, Orientation orientation) {
  std::lock_guard lock(mutex_);
  bounds_ = bounds;
  orientation_ = orientation;
}

void HeadlessScreen::notify(const std::function<void(const Page&)> Observer::*event, const Page& page) const {
  std::function<void(const Page&)> callback;
  {
    std::lock_guard lock(mutex_);
    callback = observer_.*event;
  }
  if (callback) callback(page);
}

}  // namespace orvanta
