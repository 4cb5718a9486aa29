// The controller of a popup's page: it shows the page on the popup's layer,
// installs the page's two script functions after each load, and tells its
// delegate what the page does.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "inapp/in_app_rules.h"
#include "orvanta/platform/main_queue.h"
#include "orvanta/platform/views.h"

namespace orvanta {

// What the page reports, on the main queue. rule: the rule shown (nullptr
// when none was given).
class AdvertisementDelegate {
 public:
  virtual void advertisementShow(const OrvantaInAppRules* rule) = 0;
  virtual void advertisementClose(const OrvantaInAppRules* rule) = 0;
  virtual void advertisementClicked(const OrvantaInAppRules* rule, const std::string& trvValue) = 0;

 protected:
  ~AdvertisementDelegate() = default;
};

// Used on the main queue only. The views and the main queue must outlive
// every callback handed to the views (both belong to the platform); the
// controller itself may go at any time: what its page does later reaches
// nothing.
class AdvertisementViewController {
 public:
  // Where the controller's view goes.
  struct Placement {
    int layer = 0;  // the dimming layer it lies on
    Rect frame;
    std::int64_t popupType = 0;
  };

  AdvertisementViewController(Views& views, MainQueue& mainQueue);
  // clearData.
  ~AdvertisementViewController();
  AdvertisementViewController(const AdvertisementViewController&) = delete;
  AdvertisementViewController& operator=(const AdvertisementViewController&) = delete;

  // Set before viewDidLoad. The delegate is not owned; clearData forgets it.
  void setDelegate(AdvertisementDelegate* delegate);
  void setStrPath(std::string path);
  void setParseRule(std::shared_ptr<const OrvantaInAppRules> rule);
  const std::string& strPath() const;
  const std::shared_ptr<const OrvantaInAppRules>& parseRule() const;
  // The page shown, 0 when none.
  int webView() const;

  // Shows the page at placement, tells the delegate (advertisementShow) and
  // starts loading strPath.
  void viewDidLoad(const Placement& placement);
  void setViewFrame(Rect frame);
  // The page has finished loading: its script gets "closeAction" (no
  // argument) and "intentAction" (one, as text: see scriptText), each of
  // which tells the delegate on the main queue.
  void webViewDidFinishLoad();
  // Removes the page (stopping its loading) and forgets the delegate, the
  // path and the rule, so that a late script call finds nobody to tell.
  void clearData();

 private:
  // Shared with the page's callbacks, which hold it weakly.
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace orvanta
