// The popup on the screen: showing it, laying it out, closing it.
#include <utility>

#include "base/logger.h"
#include "inapp/popup_layout.h"
#include "inapp/popup_manager.h"
#include "inapp/value_readings.h"

namespace orvanta {
namespace {

constexpr const char* kPagePath = "inapp?";

}  // namespace

OrvantaPopupManager::~OrvantaPopupManager() {
  close();
  views_.setOrientationListener({});
}

void OrvantaPopupManager::showView(std::shared_ptr<const OrvantaInAppRules> rule) {
  if (!mainQueue_.isCurrent()) {
    mainQueue_.post([this, rule = std::move(rule)]() mutable { showView(std::move(rule)); });
    return;
  }
  // There is never more than one popup.
  if (bgView_ != 0) close();
  popupType_ = rule ? leadingInteger(rule->strWhereTo.value_or("")) : kNoRuleLayout;
  // A tap outside the page closes the popup it was shown with, not a later one.
  const std::uint64_t shown = ++shownPopups_;
  bgView_ = views_.presentDimmingLayer({.outsideTapped = [this, shown] {
    mainQueue_.post([this, shown] {
      if (shown == shownPopups_ && bgView_ != 0) close();
    });
  }});
  if (bgView_ == 0) {
    logger_.log("the screen cannot show a popup; none is shown");
    return;
  }
  adView_ = std::make_unique<AdvertisementViewController>(views_, mainQueue_);
  adView_->setDelegate(this);
  adView_->setStrPath(rulesBaseUrl_ + kPagePath + (rule ? rule->strWhatTo.value_or("") : std::string()));
  adView_->setParseRule(std::move(rule));
  adView_->viewDidLoad({.layer = bgView_, .frame = pageFrame(), .popupType = popupType_});
  setupFrameAsperOriantation();
}

Rect OrvantaPopupManager::pageFrame() const {
  return popupFrame(popupType_, views_.screenBounds(), views_.orientation());
}

void OrvantaPopupManager::setupFrameAsperOriantation() {
  if (adView_) adView_->setViewFrame(pageFrame());
}

void OrvantaPopupManager::orientationChanged() { setupFrameAsperOriantation(); }

void OrvantaPopupManager::close() {
  if (adView_) {
    adView_->clearData();
    adView_.reset();
  }
  if (const int layer = std::exchange(bgView_, 0); layer != 0) views_.dismissDimmingLayer(layer);
}

int OrvantaPopupManager::bgView() const { return bgView_; }
const AdvertisementViewController* OrvantaPopupManager::adView() const { return adView_.get(); }
std::int64_t OrvantaPopupManager::popupType() const { return popupType_; }

}  // namespace orvanta
