// A settings suite kept in one JSON file that several processes may share,
// written in the background.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orvanta/platform/settings_store.h"

namespace orvanta {

// Reads are served from memory: the file as this store last read it, with
// this store's own changes that are not yet in the file on top.
//
// set() and remove() change memory at once, note the change as pending and
// wake one writer thread. Persisting is a merge, never a rewrite of the whole
// suite: under the suite's FileLock (<path>.lock, shared with every process
// and every other FileSettingsStore on the file) the file is read again, the
// pending changes are applied to it in the order they were made (the latest
// per key), and the result replaces the file atomically, with a last good
// copy beside it; then memory is rebuilt from what was written plus what
// became pending meanwhile. So keys that only other processes changed keep
// their values, and of two processes that change one key the later merge
// wins. A set() always counts as a change, even of a value memory already
// holds, since the file may hold another process's value by now.
//
// synchronize() and withLock() merge on the calling thread; a merge with
// nothing pending still reads the file, so others' writes show. Thread-safe;
// no call waits for the disk or the lock except synchronize(), withLock() and
// the destructor.
class FileSettingsStore : public SettingsStore {
 public:
  // Loads the suite stored at path under its lock (a missing file is an empty
  // suite; an unreadable or corrupt one is logged, kept aside as
  // <path>.corrupt and replaced by its last good copy, else read as empty)
  // and starts the writer thread. Creates the parent folder if it is
  // missing; if that fails, the failure shows in synchronize().
  explicit FileSettingsStore(std::string path);
  // Persists what is still pending, then stops the writer thread.
  ~FileSettingsStore() override;
  FileSettingsStore(const FileSettingsStore&) = delete;
  FileSettingsStore& operator=(const FileSettingsStore&) = delete;

  std::optional<Value> get(std::string_view key) const override;
  void set(std::string_view key, Value value) override;
  void remove(std::string_view key) override;
  // Merges now: every change made before the call is durable when it answers
  // true (a failed earlier write is retried), and memory shows what other
  // processes have written. False (the reason logged) when the write failed.
  bool synchronize() override;
  bool withLock(const std::function<void()>& body) override;

 private:
  // One pending change: the value set, or nullopt for a removal.
  struct Change {
    std::uint64_t number;
    std::string key;
    std::optional<Value> value;
  };
  class Exclusive;

  void changed(std::string_view key, std::optional<Value> value);  // requires mutex_
  bool holdsLock() const;
  // Requires the suite's lock, held by this thread (an Exclusive).
  bool merge();
  void runWriter();

  const std::string path_;

  // Held with the FileLock by the one thread that merges or runs a withLock
  // body; the FileLock alone would do, but it may fail to open.
  std::mutex lockMutex_;

  mutable std::mutex mutex_;
  std::condition_variable wakeWriter_;  // writeAsked_ or stopping_ became true
  Map values_;                          // guarded by mutex_
  std::vector<Change> pending_;         // guarded; oldest first, one per key
  std::uint64_t changes_ = 0;           // guarded; number of the latest change
  std::thread::id lockHolder_;          // guarded; the thread holding the lock, if any
  bool writeAsked_ = false;             // guarded
  bool stopping_ = false;               // guarded

  std::thread writer_;  // last: starts once everything above is built
};

}  // namespace orvanta
