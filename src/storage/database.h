// The one long-lived SQLite connection to the client's database file, and the
// lock under which every use of it runs.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "base/logger.h"
#include "storage/sqlite_handles.h"
#include "storage/wal_checkpointer.h"

namespace orvanta {

// The connection is opened on first use (WAL mode, synchronous=NORMAL) and
// stays open until close; its checkpoints run on a WalCheckpointer thread.
// The handle is only ever handed to work running under the lock, so no two
// statements of this process interleave on it.
//
// A damaged file (not a database, or failing SQLite's quick check when it is
// opened, or a statement answering that it is corrupt) is set aside beside
// itself as "<file>.damaged-<stamp>" and kept; what can still be read of its
// queue, journal and inbox is carried into a new file, and a log line says so.
class Database {
 public:
  // locate answers the file's path; it is asked at every open, as finding the
  // path may make the folder. stamp answers the time for a damaged file's
  // name; logger tells of one. logger must outlive this object.
  Database(std::function<std::string()> locate, std::function<std::string()> stamp, const Logger& logger);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Runs work(db) under the lock and answers what it answers. db is the
  // connection, opened first when it is not open, or nullptr when the file
  // cannot be opened. work must neither keep db nor call this object. When
  // work's statements find the file damaged, the file is replaced and work
  // runs once more, on the new file: a statement that failed so wrote
  // nothing.
  template <typename Work>
  auto run(Work&& work) -> std::invoke_result_t<Work&, sqlite3*> {
    std::unique_lock lock(mutex_);
    for (bool retried = false;; retried = true) {
      sqlite3* db = connection(lock);
      const std::uint64_t damageBefore = sqlite::damageSeen();
      if constexpr (std::is_void_v<std::invoke_result_t<Work&, sqlite3*>>) {
        work(db);
        if (retried || !replacedAfter(damageBefore, lock)) return;
      } else {
        auto result = work(db);
        if (retried || !replacedAfter(damageBefore, lock)) return result;
      }
    }
  }

  // Under the lock: closes the connection when decide() answers true, and
  // answers that. The next run opens it again.
  bool closeIf(const std::function<bool()>& decide);

 private:
  sqlite3* connection(std::unique_lock<std::mutex>& lock);
  // Whether a statement on this thread found the file damaged since
  // damageBefore; the file is replaced then.
  bool replacedAfter(std::uint64_t damageBefore, std::unique_lock<std::mutex>& lock);
  // Sets the damaged file aside and makes connection_ the new file's, with
  // what could be read of the old one (from connection_, when open).
  void replaceDamaged(const std::string& reason, std::unique_lock<std::mutex>& lock);
  // The connection to the file at path, set up for use; empty when it cannot
  // be opened.
  sqlite::Connection openAt(const std::string& path);
  // Makes the checkpointer for path once, and installs it on connection_.
  void attachCheckpointer(const std::string& path);

  const std::function<std::string()> locate_;
  const std::function<std::string()> stamp_;
  const Logger& logger_;
  std::mutex mutex_;
  // While a damaged file is replaced the lock is let go for a moment (the
  // checkpointer may need it to stop); nobody else opens the file then.
  std::condition_variable replaced_;
  bool replacing_ = false;  // guarded by mutex_
  // Declared before connection_, which must close first.
  std::unique_ptr<WalCheckpointer> checkpointer_;
  sqlite::Connection connection_;
};

}  // namespace orvanta
