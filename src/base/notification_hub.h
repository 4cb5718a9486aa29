// The in-process notification centre: components post named notifications
// and others observe them by name, without knowing one another.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace orvanta {

// Posted by Reachability when the network may have changed; the object is
// that Reachability. Its value is "kNetworkReachabilityChangedNotification".
extern const char* const kReachabilityChangedNotification;

// One per Runtime. Thread-safe.
class NotificationHub {
 public:
  // Gets the object the notification was posted with (may be null).
  using Observer = std::function<void(const void* object)>;
  using Token = std::uint64_t;

  NotificationHub() = default;
  NotificationHub(const NotificationHub&) = delete;
  NotificationHub& operator=(const NotificationHub&) = delete;

  // observer runs for every later post of name, on the posting thread.
  // Answers the token that removes it.
  Token addObserver(std::string name, Observer observer);
  // After this returns the observer does not run again and is not running on
  // another thread (an observer may remove itself while it runs). Unknown
  // tokens are ignored.
  void removeObserver(Token token);
  // Runs every observer of name, in the order they were added, on this
  // thread, before it returns. No lock is held while they run, so they may
  // post, add and remove.
  void post(std::string_view name, const void* object);

 private:
  struct Entry;

  std::mutex mutex_;
  std::condition_variable finished_;
  std::vector<std::shared_ptr<Entry>> entries_;
  Token nextToken_ = 1;
};

}  // namespace orvanta
