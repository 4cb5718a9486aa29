#include "storage/wal_checkpointer.h"

#include <sqlite3.h>

#include "storage/sqlite_handles.h"

namespace orvanta {
namespace {

// A new connection learns that the file is in WAL mode only when it first
// reads it; until then a checkpoint from it does nothing.
sqlite::Connection openForCheckpoints(const std::string& path) {
  sqlite::Connection db = sqlite::open(path);
  if (db && sqlite::execute(db.get(), "SELECT count(*) FROM sqlite_master") != SQLITE_OK) db.reset();
  return db;
}

// Writes the file's user version back unchanged: a transaction with one page
// in it, so the log starts over here, with its header synced on this thread.
void startLogOver(sqlite3* db) {
  sqlite::Statement read(db, "PRAGMA user_version");
  if (read.step() != SQLITE_ROW) return;
  const std::string write = "PRAGMA user_version = " + std::to_string(read.integer(0));
  sqlite::execute(db, write.c_str());
}

}  // namespace

WalCheckpointer::WalCheckpointer(std::string path, int pageThreshold, std::mutex& writers)
    : path_(std::move(path)), pageThreshold_(pageThreshold), writers_(writers), thread_([this] { run(); }) {}

WalCheckpointer::~WalCheckpointer() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void WalCheckpointer::attach(sqlite3* db) { sqlite3_wal_hook(db, &WalCheckpointer::onCommit, this); }

int WalCheckpointer::onCommit(void* self, sqlite3*, const char*, int pagesInLog) {
  static_cast<WalCheckpointer*>(self)->committed(pagesInLog);
  return SQLITE_OK;
}

void WalCheckpointer::committed(int pagesInLog) {
  int last = requestedAt_.load(std::memory_order_relaxed);
  if (pagesInLog < last) last = 0;  // the log has started over
  if (pagesInLog < last + pageThreshold_) return;
  requestedAt_.store(pagesInLog, std::memory_order_relaxed);
  {
    std::lock_guard lock(mutex_);
    due_ = true;
  }
  wake_.notify_one();
}

void WalCheckpointer::flush() {
  std::unique_lock lock(mutex_);
  idle_.wait(lock, [this] { return stopping_ || (!due_ && !busy_); });
}

void WalCheckpointer::checkpoint(sqlite3* db) {
  // PASSIVE: copies what no reader still needs and never waits for writers.
  int inLog = 0;
  int copied = 0;
  if (sqlite3_wal_checkpoint_v2(db, nullptr, SQLITE_CHECKPOINT_PASSIVE, &inLog, &copied) != SQLITE_OK) return;
  if (inLog > 0 && copied == inLog) {
    std::lock_guard writers(writers_);
    startLogOver(db);
  }
}

void WalCheckpointer::run() {
  // This thread's own connection, opened at the first checkpoint.
  sqlite::Connection db;
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopping_ || due_; });
    if (stopping_) break;
    due_ = false;
    busy_ = true;
    lock.unlock();
    if (!db) db = openForCheckpoints(path_);
    if (db) checkpoint(db.get());
    lock.lock();
    busy_ = false;
    idle_.notify_all();
  }
  idle_.notify_all();
}

}  // namespace orvanta
