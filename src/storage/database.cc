#include "storage/database.h"

#include "storage/damaged_file.h"
#include "storage/schema.h"

namespace orvanta {
namespace {

// SQLite's own automatic checkpoint threshold; here it wakes the
// checkpointer thread instead of running on the writer's.
constexpr int kCheckpointPages = 1000;
// How long a statement waits for a lock held by another connection (the
// checkpointer's, or another process) before failing.
constexpr int kBusyTimeoutMs = 2000;

std::string rowCounts(const damaged_file::Rows& rows) {
  return std::to_string(rows.queue.size()) + " queued, " + std::to_string(rows.journal.size()) + " in flight, " +
         std::to_string(rows.inbox.size()) + " inbox rows";
}

}  // namespace

Database::Database(std::function<std::string()> locate, std::function<std::string()> stamp, const Logger& logger)
    : locate_(std::move(locate)), stamp_(std::move(stamp)), logger_(logger) {}

Database::~Database() = default;

bool Database::closeIf(const std::function<bool()>& decide) {
  std::unique_lock lock(mutex_);
  replaced_.wait(lock, [this] { return !replacing_; });
  if (!decide()) return false;
  connection_.reset();
  return true;
}

sqlite::Connection Database::openAt(const std::string& path) {
  sqlite::Connection db = sqlite::open(path);
  if (!db) return db;
  // A file that cannot switch to WAL keeps its rollback journal and works as
  // before, only slower; so these results are not checked.
  sqlite::execute(db.get(), "PRAGMA journal_mode=WAL");
  sqlite::execute(db.get(), "PRAGMA synchronous=NORMAL");
  sqlite3_busy_timeout(db.get(), kBusyTimeoutMs);
  return db;
}

sqlite3* Database::connection(std::unique_lock<std::mutex>& lock) {
  replaced_.wait(lock, [this] { return !replacing_; });
  if (connection_) return connection_.get();
  const std::string path = locate_();
  connection_ = openAt(path);
  if (!connection_) return nullptr;
  if (const std::string damage = damaged_file::damage(connection_.get()); !damage.empty()) {
    replaceDamaged(damage, lock);
    return connection_.get();
  }
  attachCheckpointer(path);
  return connection_.get();
}

void Database::attachCheckpointer(const std::string& path) {
  if (!checkpointer_) checkpointer_ = std::make_unique<WalCheckpointer>(path, kCheckpointPages, mutex_);
  checkpointer_->attach(connection_.get());
}

bool Database::replacedAfter(std::uint64_t damageBefore, std::unique_lock<std::mutex>& lock) {
  if (sqlite::damageSeen() == damageBefore) return false;
  replaceDamaged("a statement found it corrupt", lock);
  return true;
}

void Database::replaceDamaged(const std::string& reason, std::unique_lock<std::mutex>& lock) {
  replacing_ = true;
  damaged_file::Rows rows;
  if (connection_) {
    rows = damaged_file::readable(connection_.get());
    sqlite3_wal_hook(connection_.get(), nullptr, nullptr);
    connection_.reset();
  }
  // The checkpointer's connection must close before the file moves: the last
  // connection to close removes the log by its name, which is the new file's
  // then. Its thread may need the lock to end a checkpoint under way.
  if (std::unique_ptr<WalCheckpointer> retired = std::move(checkpointer_)) {
    lock.unlock();
    retired.reset();
    lock.lock();
  }
  const std::string path = locate_();
  const std::string aside = damaged_file::setAside(path, stamp_());
  if (aside.empty()) {
    logger_.log("the database file is damaged (" + reason + ") and cannot be set aside; its messages cannot be kept");
  } else {
    connection_ = openAt(path);
    std::string problem = "it cannot be opened";
    if (connection_) {
      schema::createTables(connection_.get());
      problem = damaged_file::carry(connection_.get(), rows);
      attachCheckpointer(path);
    }
    logger_.log("the database file was damaged (" + reason + "): kept as " + aside + "; " +
                (problem.empty() ? "carried into a new file: " + rowCounts(rows)
                                 : "nothing could be carried into a new file (" + problem + "; " + rowCounts(rows) +
                                       " were readable)"));
  }
  replacing_ = false;
  replaced_.notify_all();
}

}  // namespace orvanta
