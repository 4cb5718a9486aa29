#include "storage/database.h"

namespace orvanta {
namespace {

// SQLite's own automatic checkpoint threshold; here it wakes the
// checkpointer thread instead of running on the writer's.
constexpr int kCheckpointPages = 1000;
// How long a statement waits for a lock held by another connection (the
// checkpointer's, or another process) before failing.
constexpr int kBusyTimeoutMs = 2000;

}  // namespace

Database::Database(std::function<std::string()> locate) : locate_(std::move(locate)) {}

Database::~Database() = default;

bool Database::closeIf(const std::function<bool()>& decide) {
  std::lock_guard lock(mutex_);
  if (!decide()) return false;
  connection_.reset();
  return true;
}

sqlite3* Database::connection() {
  if (connection_) return connection_.get();
  const std::string path = locate_();
  sqlite::Connection db = sqlite::open(path);
  if (!db) return nullptr;
  // A file that cannot switch to WAL keeps its rollback journal and works as
  // before, only slower; so these results are not checked.
  sqlite::execute(db.get(), "PRAGMA journal_mode=WAL");
  sqlite::execute(db.get(), "PRAGMA synchronous=NORMAL");
  sqlite3_busy_timeout(db.get(), kBusyTimeoutMs);
  if (!checkpointer_) checkpointer_ = std::make_unique<WalCheckpointer>(path, kCheckpointPages, mutex_);
  checkpointer_->attach(db.get());
  connection_ = std::move(db);
  return connection_.get();
}

}  // namespace orvanta
