// A read-only look at what the library keeps for one app: the offline queue
// and the notification inbox in its database, and the keys of its stored
// settings. For tools and diagnostics: it starts nothing and sends nothing,
// so it may look at an app home while no runtime (or another process's) runs.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvanta/config.h"
#include "orvanta/platform/platform.h"
#include "orvanta/value.h"

namespace orvanta {

// One message waiting in the offline queue, exactly as it will be sent again.
struct QueuedMessage {
  std::int64_t id = 0;  // the queue order
  std::string method;   // the tracking server's method name
  std::string data;     // the encoded request body
  friend bool operator==(const QueuedMessage&, const QueuedMessage&) = default;
};

// Any thread; each call reads the file anew.
class Inspection {
 public:
  // Reads the database under platform's documents folder. A missing database
  // is made as the app's first launch would make it (both tables), so that
  // looking never leaves a file the app could not use.
  Inspection(const Platform& platform, const Config& config);
  ~Inspection();
  Inspection(const Inspection&) = delete;
  Inspection& operator=(const Inspection&) = delete;

  // Every queued message, oldest first; nullopt when the queue cannot be read.
  std::optional<std::vector<QueuedMessage>> queuedMessages() const;
  // The ten newest stored notifications, newest first, as
  // OrvantaSharedManager::getNotifications answers them.
  Array notifications() const;
  // Every fixed key the library keeps in the settings stores.
  static const std::vector<std::string>& storedSettingKeys();

 private:
  struct Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace orvanta
