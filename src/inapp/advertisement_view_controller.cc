#include "inapp/advertisement_view_controller.h"

#include <optional>
#include <utility>

#include "inapp/script_text.h"

namespace orvanta {
namespace {

constexpr const char* kCloseAction = "closeAction";
constexpr const char* kIntentAction = "intentAction";

}  // namespace

struct AdvertisementViewController::State : std::enable_shared_from_this<State> {
  State(Views& views, MainQueue& mainQueue) : views(views), mainQueue(mainQueue) {}

  Views& views;
  MainQueue& mainQueue;
  AdvertisementDelegate* delegate = nullptr;
  std::string strPath;
  std::shared_ptr<const OrvantaInAppRules> parseRule;
  int webView = 0;

  // The page's calls, on the main queue. The rule is held for the call,
  // since the delegate may clear this state (closing the popup) meanwhile.
  void closeAction() {
    if (!delegate) return;
    const std::shared_ptr<const OrvantaInAppRules> rule = parseRule;
    delegate->advertisementClose(rule.get());
  }
  void intentAction(const std::string& value) {
    if (!delegate) return;
    const std::shared_ptr<const OrvantaInAppRules> rule = parseRule;
    delegate->advertisementClicked(rule.get(), value);
  }
  // Installs the page's two functions; the script engine calls them on its
  // own thread, and each hops to the main queue.
  void installScriptFunctions() {
    if (webView == 0) return;
    const std::weak_ptr<State> weak = weak_from_this();
    MainQueue& queue = mainQueue;
    views.installScriptFunction(webView, kCloseAction, [weak, &queue](const std::vector<Value>&) {
      queue.post([weak] {
        if (auto state = weak.lock()) state->closeAction();
      });
    });
    views.installScriptFunction(webView, kIntentAction, [weak, &queue](const std::vector<Value>& arguments) {
      std::string value = scriptText(arguments.empty() ? std::nullopt : std::optional<Value>(arguments.front()));
      queue.post([weak, value = std::move(value)] {
        if (auto state = weak.lock()) state->intentAction(value);
      });
    });
  }
};

AdvertisementViewController::AdvertisementViewController(Views& views, MainQueue& mainQueue)
    : state_(std::make_shared<State>(views, mainQueue)) {}

AdvertisementViewController::~AdvertisementViewController() { clearData(); }

void AdvertisementViewController::setDelegate(AdvertisementDelegate* delegate) { state_->delegate = delegate; }
void AdvertisementViewController::setStrPath(std::string path) { state_->strPath = std::move(path); }
void AdvertisementViewController::setParseRule(std::shared_ptr<const OrvantaInAppRules> rule) {
  state_->parseRule = std::move(rule);
}
const std::string& AdvertisementViewController::strPath() const { return state_->strPath; }
const std::shared_ptr<const OrvantaInAppRules>& AdvertisementViewController::parseRule() const {
  return state_->parseRule;
}
int AdvertisementViewController::webView() const { return state_->webView; }

void AdvertisementViewController::viewDidLoad(const Placement& placement) {
  const std::weak_ptr<State> weak = state_;
  MainQueue& mainQueue = state_->mainQueue;
  const OrvantaInAppRules* rule = state_->parseRule.get();
  WebPageRequest page{.url = state_->strPath,
                      .frame = placement.frame,
                      .ruleId = rule && rule->strRuleId ? *rule->strRuleId : std::string(),
                      .popupType = placement.popupType,
                      .loaded = [weak, &mainQueue] {
                        mainQueue.post([weak] {
                          if (auto state = weak.lock()) state->installScriptFunctions();
                        });
                      }};
  state_->webView = state_->views.presentWebPage(placement.layer, std::move(page));
  if (state_->delegate) state_->delegate->advertisementShow(rule);
}

void AdvertisementViewController::setViewFrame(Rect frame) {
  if (state_->webView != 0) state_->views.setWebPageFrame(state_->webView, frame);
}

void AdvertisementViewController::webViewDidFinishLoad() { state_->installScriptFunctions(); }

void AdvertisementViewController::clearData() {
  State& state = *state_;
  if (const int page = std::exchange(state.webView, 0); page != 0) state.views.dismissWebPage(page);
  state.delegate = nullptr;
  state.strPath.clear();
  state.parseRule.reset();
}

}  // namespace orvanta
