// Moves the write-ahead log of one database file back into the file, on a
// thread of its own, so that no thread that writes a row ever pays for a
// checkpoint or its fsyncs.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

struct sqlite3;

namespace orvanta {

// Two kinds of fsync would otherwise fall on a writer: the checkpoint's own
// (SQLite checkpoints on the committing connection every 1000 pages), and
// the sync of the log's header when the first writer after a complete
// checkpoint starts the log over. The first is moved here by replacing the
// automatic checkpoint; the second by starting the log over from here, with
// a write that changes nothing, right after a checkpoint that copied all of
// it.
class WalCheckpointer {
 public:
  // Checkpoints path whenever the log has grown by pageThreshold pages.
  // writers is the lock that every writer of the file in this process holds
  // while it writes; it is taken here only to start the log over.
  WalCheckpointer(std::string path, int pageThreshold, std::mutex& writers);
  // Stops the thread (a checkpoint under way finishes first).
  ~WalCheckpointer();
  WalCheckpointer(const WalCheckpointer&) = delete;
  WalCheckpointer& operator=(const WalCheckpointer&) = delete;

  // Installs the commit hook on db, a connection to the same file in WAL
  // mode; the hook replaces SQLite's automatic checkpoint on that connection
  // and costs a writer no more than a comparison between checkpoints. This
  // object must outlive db.
  void attach(sqlite3* db);

  // Answers once no checkpoint is due or running, so that a caller can
  // observe the file after the checkpoint its writes asked for.
  void flush();

 private:
  static int onCommit(void* self, sqlite3* db, const char* schema, int pagesInLog);
  void committed(int pagesInLog);
  void run();
  void checkpoint(sqlite3* db);

  const std::string path_;
  const int pageThreshold_;
  std::mutex& writers_;
  // Log size at the last request; the next comes pageThreshold pages later,
  // or at the threshold once the log has started over.
  std::atomic<int> requestedAt_{0};
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  bool due_ = false;
  bool busy_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace orvanta
