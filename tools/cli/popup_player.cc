#include "cli/popup_player.h"

#include "orvanta/number_text.h"

namespace orvanta::cli {
namespace {

std::string frameText(const Rect& frame) {
  return shortestDecimal(frame.x) + "," + shortestDecimal(frame.y) + "," + shortestDecimal(frame.width) + "," +
         shortestDecimal(frame.height);
}

}  // namespace

PopupPlayer::PopupPlayer(std::shared_ptr<HeadlessScreen> screen, PopupPlay play,
                         std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<Output> output)
    : screen_(std::move(screen)), play_(std::move(play)), mainQueue_(std::move(mainQueue)), output_(std::move(output)) {
  screen_->setObserver({
      .shown = [this](const HeadlessScreen::Page& page) { shown(page); },
      .laidOut = nullptr,
      .dismissed = [this](const HeadlessScreen::Page& page) { dismissed(page); },
  });
}

void PopupPlayer::shown(const HeadlessScreen::Page& page) {
  output_->line("popup " + (page.ruleId.empty() ? std::string("-") : page.ruleId) + " layout " +
                std::to_string(page.popupType) + " frame " + frameText(page.frame) + " page " + page.url);
  if (play_.action == PopupPlay::Action::Stay) return;
  {
    std::lock_guard lock(mutex_);
    playing_.insert(page.id);
  }
  // The page loads (which installs its two functions), then the user acts.
  mainQueue_->post([this, id = page.id] {
    screen_->finishLoading();
    mainQueue_->post([this, id] { act(id); });
  });
}

void PopupPlayer::act(int pageId) {
  const std::optional<HeadlessScreen::Page> current = screen_->currentPage();
  if (!current || current->id != pageId) return settled(pageId);  // replaced meanwhile
  {
    std::lock_guard lock(mutex_);
    acted_.insert(pageId);
  }
  const bool called = play_.action == PopupPlay::Action::Close
                          ? screen_->callScript("closeAction", {})
                          : screen_->callScript("intentAction", {Value(play_.clickValue)});
  if (!called) {
    output_->note("the popup's page has no function to call");
    settled(pageId);
  }
}

void PopupPlayer::dismissed(const HeadlessScreen::Page& page) {
  bool acted = false;
  {
    std::lock_guard lock(mutex_);
    acted = acted_.erase(page.id) != 0;
  }
  if (acted) {
    output_->line(play_.action == PopupPlay::Action::Close ? std::string("popup closed")
                                                           : "popup clicked " + play_.clickValue);
  }
  settled(page.id);
}

void PopupPlayer::settled(int pageId) {
  std::lock_guard lock(mutex_);
  playing_.erase(pageId);
  changed_.notify_all();
}

bool PopupPlayer::waitUntilPlayed(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  return changed_.wait_until(lock, deadline, [this] { return playing_.empty(); });
}

}  // namespace orvanta::cli
