// A database file that SQLite finds damaged: telling so, reading what can
// still be read from it, carrying that into a new file, and setting the
// damaged one aside.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orvanta::damaged_file {

// Why db's file cannot be trusted: SQLite's message when it is not a database
// or PRAGMA quick_check fails, its first finding when the check answers
// anything but "ok"; empty when the file is sound.
std::string damage(sqlite3* db);

struct FreeValue {
  void operator()(sqlite3_value* value) const { sqlite3_value_free(value); }
};
// One column's value as SQLite stored it (text, blob, integer or null).
using Value = std::unique_ptr<sqlite3_value, FreeValue>;
using Row = std::vector<Value>;

// The rows of the client's tables that could still be read, each table in the
// order of its keys. A damaged page hides its own rows only: each table is
// read from both ends up to the damage.
struct Rows {
  std::vector<Row> queue;    // OfflineEvents
  std::vector<Row> journal;  // OrvantaInFlightEvents
  std::vector<Row> inbox;    // trv_notifications
};
Rows readable(sqlite3* damaged);

// Writes rows into fresh, a file with every table and no row, in one
// transaction, the queue's and journal's IDs kept. Answers why it could not
// (nothing written then); empty when it committed.
std::string carry(sqlite3* fresh, const Rows& rows);

// Renames the file at path, and its log, shared-memory and journal files,
// to path + ".damaged-" + stamp (with "-2", "-3", ... when that is taken).
// Answers the new name; empty, with nothing renamed, when the file could
// not be renamed.
std::string setAside(const std::string& path, const std::string& stamp);

}  // namespace orvanta::damaged_file
