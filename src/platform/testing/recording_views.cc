#include "orvanta/testing/recording_views.h"

namespace orvanta::testing {

Rect RecordingViews::screenBounds() const {
  std::lock_guard lock(mutex_);
  return bounds_;
}

Orientation RecordingViews::orientation() const {
  std::lock_guard lock(mutex_);
  return orientation_;
}

int RecordingViews::presentWebPage(WebPageRequest request) {
  std::lock_guard lock(mutex_);
  const int id = nextId_++;
  presented_.emplace(id, std::move(request));
  return id;
}

void RecordingViews::dismissWebPage(int id) {
  std::lock_guard lock(mutex_);
  presented_.erase(id);
}

int RecordingViews::presentWebScreen(WebScreenRequest request) {
  std::lock_guard lock(mutex_);
  const int id = nextId_++;
  screens_.emplace(id, std::move(request));
  return id;
}

void RecordingViews::dismissWebScreen(int id) {
  std::lock_guard lock(mutex_);
  screens_.erase(id);
}

void RecordingViews::setScreen(Rect bounds, Orientation orientation) {
  std::lock_guard lock(mutex_);
  bounds_ = bounds;
  orientation_ = orientation;
}

std::map<int, WebPageRequest> RecordingViews::presented() const {
  std::lock_guard lock(mutex_);
  return presented_;
}

std::map<int, WebScreenRequest> RecordingViews::screens() const {
  std::lock_guard lock(mutex_);
  return screens_;
}

}  // namespace orvanta::testing
