#include "orvanta/testing/recording_views.h"

namespace orvanta::testing {

RecordingViews::RecordingViews() : HeadlessScreen(375, 812) {}

int RecordingViews::presentWebPage(int layer, WebPageRequest request) {
  const int id = HeadlessScreen::presentWebPage(layer, std::move(request));
  if (const std::optional<Page> shown = page(id)) {
    std::lock_guard lock(mutex_);
    presentedPages_.push_back(*shown);
  }
  return id;
}

std::vector<HeadlessScreen::Page> RecordingViews::presentedPages() const {
  std::lock_guard lock(mutex_);
  return presentedPages_;
}

}  // namespace orvanta::testing
