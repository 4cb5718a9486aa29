// A settings suite kept in one JSON file, written in the background.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "orvanta/platform/settings_store.h"

namespace orvanta {

// Reads are served from memory. set() and remove() change memory at once and
// wake one writer thread, which persists snapshots in the order the changes
// were made; changes that pile up while it writes go out together as the
// latest snapshot, so the file always holds a state the suite really had.
// Thread-safe; no call waits for the disk except synchronize() and the
// destructor.
class FileSettingsStore : public SettingsStore {
 public:
  // Loads the suite stored at path (a missing file is an empty suite; an
  // unreadable or corrupt one is logged, kept aside as <path>.corrupt and read
  // as empty) and starts the writer thread. Creates the parent folder if it
  // is missing; if that fails, the failure shows in synchronize().
  explicit FileSettingsStore(std::string path);
  // Persists what is still pending, then stops the writer thread.
  ~FileSettingsStore() override;
  FileSettingsStore(const FileSettingsStore&) = delete;
  FileSettingsStore& operator=(const FileSettingsStore&) = delete;

  std::optional<Value> get(std::string_view key) const override;
  void set(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  // Waits until every change made before the call is durable, writing again
  // if the last attempt failed. False (the reason logged) when it is not.
  bool synchronize() override;

 private:
  void changed();  // requires mutex_
  void runWriter();

  const std::string path_;

  mutable std::mutex mutex_;
  std::condition_variable wakeWriter_;  // pending_ or stopping_ became true
  std::condition_variable writeEnded_;  // attemptsEnded_ grew
  Map values_;                          // guarded by mutex_
  std::uint64_t version_ = 0;           // guarded; one more per change
  std::uint64_t durableVersion_ = 0;    // guarded; version the file holds
  std::uint64_t snapshotsTaken_ = 0;    // guarded; write attempts begun
  std::uint64_t attemptsEnded_ = 0;     // guarded; write attempts ended
  bool pending_ = false;                // guarded; a write is asked for
  bool stopping_ = false;               // guarded

  std::thread writer_;  // last: starts once everything above is built
};

}  // namespace orvanta
