// The one long-lived SQLite connection to the client's database file, and the
// lock under which every use of it runs.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "storage/sqlite_handles.h"
#include "storage/wal_checkpointer.h"

namespace orvanta {

// The connection is opened on first use (WAL mode, synchronous=NORMAL) and
// stays open until close; its checkpoints run on a WalCheckpointer thread.
// The handle is only ever handed to work running under the lock, so no two
// statements of this process interleave on it.
class Database {
 public:
  // locate answers the file's path; it is asked at every open, as finding the
  // path may make the folder.
  explicit Database(std::function<std::string()> locate);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Runs work(db) under the lock and answers what it answers. db is the
  // connection, opened first when it is not open, or nullptr when the file
  // cannot be opened. work must neither keep db nor call this object.
  template <typename Work>
  decltype(auto) run(Work&& work) {
    std::lock_guard lock(mutex_);
    return std::forward<Work>(work)(connection());
  }

  // Under the lock: closes the connection when decide() answers true, and
  // answers that. The next run opens it again.
  bool closeIf(const std::function<bool()>& decide);

 private:
  sqlite3* connection();

  const std::function<std::string()> locate_;
  std::mutex mutex_;
  // Declared before connection_, which must close first.
  std::unique_ptr<WalCheckpointer> checkpointer_;
  sqlite::Connection connection_;
};

}  // namespace orvanta
