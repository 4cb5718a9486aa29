#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "cli/output.h"
#include "orvanta/platform/headless_screen.h"
#include "orvanta/platform/main_queue.h"

namespace orvanta::cli {

// What the user does with every popup shown (--popup).
struct PopupPlay {
  enum class Action { Stay, Close, Click };
  Action action = Action::Stay;
  std::string clickValue;  // the argument of "intentAction" for Click
};

// The simulated app's screen (a HeadlessScreen of the size and orientation
// given) and its user. Prints "popup RULEID layout L frame X,Y,W,H page URL"
// for every popup shown; then, unless the user lets it stay, lets its page
// finish loading and calls the page's "closeAction" (Close) or
// "intentAction" with the click value (Click) on the main queue, and prints
// "popup closed" or "popup clicked VALUE" once the library has taken the
// popup down. A popup replaced by the next one, or taken down otherwise,
// prints nothing more.
class PopupPlayer {
 public:
  PopupPlayer(std::shared_ptr<HeadlessScreen> screen, PopupPlay play, std::shared_ptr<MainQueue> mainQueue,
              std::shared_ptr<Output> output);
  PopupPlayer(const PopupPlayer&) = delete;
  PopupPlayer& operator=(const PopupPlayer&) = delete;

  // Waits until every popup the user acts on is down; false when the
  // deadline came first.
  bool waitUntilPlayed(std::chrono::steady_clock::time_point deadline);

 private:
  void shown(const HeadlessScreen::Page& page);
  void dismissed(const HeadlessScreen::Page& page);
  void act(int pageId);
  void settled(int pageId);

  const std::shared_ptr<HeadlessScreen> screen_;
  const PopupPlay play_;
  const std::shared_ptr<MainQueue> mainQueue_;
  const std::shared_ptr<Output> output_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<int> playing_;  // guarded: pages shown and not yet down
  std::set<int> acted_;    // guarded: pages whose script the user called
};

}  // namespace orvanta::cli
