// The in-flight journal: the table OrvantaInFlightEvents, where a message
// waits between its first send and the answer, so that the death of the
// process cannot lose it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/logger.h"
#include "storage/database.h"

namespace orvanta {

// Its own table, so that the queue keeps exactly the rows and order it is
// defined to have. A ticket is the row's ID, which is never handed out twice
// (see schema.cc).
class InFlightJournal {
 public:
  // database and logger must outlive this object.
  InFlightJournal(Database& database, const Logger& logger);

  // The row's ticket; nullopt, and a log line, when it could not be written.
  std::optional<std::int64_t> record(const std::string& name, const std::string& data);
  // record, for a caller that already holds the connection under the
  // database's lock: the row then shares the caller's transaction.
  std::optional<std::int64_t> recordIn(sqlite3* db, const std::string& name, const std::string& data) const;
  // Whether a row went.
  bool drop(std::int64_t id);
  // Moves the row to the end of OfflineEvents in one transaction; on failure
  // it stays here.
  bool moveToQueue(std::int64_t id);
  // Moves every row to the end of OfflineEvents, oldest first, in one
  // transaction, and answers how many; 0 and nothing moved on failure.
  int moveAllToQueue();

 private:
  Database& database_;
  const Logger& logger_;
};

}  // namespace orvanta
