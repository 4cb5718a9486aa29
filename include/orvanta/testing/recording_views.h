#pragma once

#include <map>
#include <mutex>

#include "orvanta/platform/views.h"

namespace orvanta::testing {

// A screen of a fixed size that records the pages and web screens shown on
// it; the test plays the page's (and the user's) part by calling the recorded
// request's callbacks.
class RecordingViews : public Views {
 public:
  Rect screenBounds() const override;
  Orientation orientation() const override;
  int presentWebPage(WebPageRequest request) override;
  void dismissWebPage(int id) override;
  int presentWebScreen(WebScreenRequest request) override;
  void dismissWebScreen(int id) override;

  void setScreen(Rect bounds, Orientation orientation);
  // The pages shown and not dismissed, by id.
  std::map<int, WebPageRequest> presented() const;
  // The web screens shown and not dismissed, by id.
  std::map<int, WebScreenRequest> screens() const;

 private:
  mutable std::mutex mutex_;
  Rect bounds_{0, 0, 375, 812};
  Orientation orientation_ = Orientation::Portrait;
  std::map<int, WebPageRequest> presented_;
  std::map<int, WebScreenRequest> screens_;
  int nextId_ = 1;
};

}  // namespace orvanta::testing
