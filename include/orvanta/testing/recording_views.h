#pragma once

#include <mutex>
#include <vector>

#include "orvanta/platform/headless_screen.h"

namespace orvanta::testing {

// A headless screen, 375 × 812 upright unless the test sets another, that
// also keeps every page ever presented. The test plays the page's and the
// user's part through the headless screen's finishLoading, callScript,
// tapOutside and rotate, and through the recorded web screens' callbacks.
class RecordingViews : public HeadlessScreen {
 public:
  RecordingViews();

  int presentWebPage(int layer, WebPageRequest request) override;

  // Replaces the bounds and the orientation, telling nobody: the screen the
  // test starts on.
  using HeadlessScreen::setScreen;
  // Every page presented so far, as it was when presented, oldest first.
  std::vector<Page> presentedPages() const;

 private:
  mutable std::mutex mutex_;
  std::vector<Page> presentedPages_;
};

}  // namespace orvanta::testing
