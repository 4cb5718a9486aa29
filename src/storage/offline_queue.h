// The offline queue: the table OfflineEvents, read oldest ID first, and the
// DBConnection handle its operations are defined by.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "storage/database.h"
#include "storage/event_model.h"

namespace orvanta {

// The DBConnection handle is how callers see the queue's connection: set at
// the start of each queue operation, cleared at the end of a successful one,
// left set by a failed insert or delete. It is a mark only: the statements
// run on the database's one connection, which only close really closes.
class OfflineQueue {
 public:
  // database must outlive this object.
  explicit OfflineQueue(Database& database);

  // Sets the handle; whether the connection is open.
  bool open();
  bool isOpen() const;
  // Clears the handle and closes the connection; false (and nothing closed)
  // when the handle was not set.
  bool close();
  // Sets the handle and runs work with the connection (nullptr when it cannot
  // be opened) under the lock.
  void withConnection(const std::function<void(sqlite3*)>& work);

  // Whether the row was stored.
  bool add(const std::string& name, const std::string& data);
  // False when the statement failed; true when it ran, and also when no
  // connection could be opened.
  bool remove(std::int64_t id);
  // The row with the lowest ID; nullopt when the queue is empty or unreadable.
  std::optional<OrvantaEventModel> oldest();
  // Every row, oldest first; nullopt when the table cannot be read. Leaves
  // the handle as it was.
  std::optional<std::vector<OrvantaEventModel>> all();

 private:
  Database& database_;
  // Written only under the database's lock; read from anywhere.
  std::atomic<bool> handleSet_{false};
};

}  // namespace orvanta
