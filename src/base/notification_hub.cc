#include "base/notification_hub.h"

#include <algorithm>

namespace orvanta {

const char* const kReachabilityChangedNotification = "kNetworkReachabilityChangedNotification";

struct NotificationHub::Entry {
  Token token;
  std::string name;
  Observer observer;
  bool removed = false;
  // Posts that have picked this entry and not yet finished with it.
  int inUse = 0;
};

namespace {
// The entries that posts on this thread have picked and not yet finished
// with, so that an observer removing itself (or another observer of the same
// post) does not wait for this thread.
thread_local std::vector<const void*> pickedHere;

void release(const void* entry) {
  pickedHere.erase(std::find(pickedHere.rbegin(), pickedHere.rend(), entry).base() - 1);
}
}  // namespace

NotificationHub::Token NotificationHub::addObserver(std::string name, Observer observer) {
  std::lock_guard lock(mutex_);
  const Token token = nextToken_++;
  entries_.push_back(std::make_shared<Entry>(Entry{token, std::move(name), std::move(observer)}));
  return token;
}

void NotificationHub::removeObserver(Token token) {
  std::unique_lock lock(mutex_);
  auto found = std::find_if(entries_.begin(), entries_.end(), [&](const auto& e) { return e->token == token; });
  if (found == entries_.end()) return;
  std::shared_ptr<Entry> entry = *found;
  entries_.erase(found);
  entry->removed = true;
  const auto own = std::count(pickedHere.begin(), pickedHere.end(), entry.get());
  finished_.wait(lock, [&] { return entry->inUse <= own; });
}

void NotificationHub::post(std::string_view name, const void* object) {
  std::vector<std::shared_ptr<Entry>> picked;
  {
    std::lock_guard lock(mutex_);
    for (const auto& entry : entries_) {
      if (entry->name != name) continue;
      ++entry->inUse;
      picked.push_back(entry);
      pickedHere.push_back(entry.get());
    }
  }
  for (const auto& entry : picked) {
    bool live;
    {
      std::lock_guard lock(mutex_);
      live = !entry->removed;
    }
    if (live) entry->observer(object);
    {
      std::lock_guard lock(mutex_);
      --entry->inUse;
      release(entry.get());
    }
    finished_.notify_all();
  }
}

}  // namespace orvanta
