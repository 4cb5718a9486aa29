#include "storage/damaged_file.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>

#include "storage/sqlite_handles.h"

namespace orvanta::damaged_file {
namespace {

// How one table is read and written back: its key orders the rows; the
// columns are copied, the key among them when it is one. The inbox has no key
// of its own, so its rowid orders it and new rowids are given in that order.
struct Table {
  const char* name;
  const char* key;
  const char* columns;
  int columnCount;
  bool keyIsColumn;  // the first column is the key
};

constexpr Table kQueue{"OfflineEvents", "ID", "ID, EventName, EventData", 3, true};
constexpr Table kJournal{"OrvantaInFlightEvents", "ID", "ID, EventName, EventData", 3, true};
constexpr Table kInbox{"trv_notifications", "rowid", "ID, Message, DeliverTime, Status", 4, false};

std::string selectText(const Table& table, const char* direction) {
  return std::string("SELECT ") + table.key + ", " + table.columns + " FROM " + table.name + " ORDER BY " +
         table.key + " " + direction;
}

// Reads rows into byKey (a key read already keeps its first row) until the
// table ends (answers true), the damage, or, with stop, a key at or below it.
using RowsByKey = std::map<std::int64_t, Row>;

bool scan(sqlite3* db, const Table& table, const char* direction, const std::int64_t* stop, RowsByKey& byKey) {
  sqlite::Statement select(db, selectText(table, direction));
  int step = SQLITE_ROW;
  while ((step = select.step()) == SQLITE_ROW) {
    const std::int64_t key = select.integer(0);
    if (stop != nullptr && key <= *stop) return true;
    if (byKey.contains(key)) continue;
    Row row;
    bool allNull = true;
    for (int column = 1; column <= table.columnCount; ++column) {
      const bool isKey = table.keyIsColumn && column == 1;
      allNull = allNull && (isKey || select.isNull(column));
      row.emplace_back(sqlite3_value_dup(sqlite3_column_value(select.get(), column)));
    }
    // What a page of zeros reads as: the client never writes such a row.
    if (!allNull) byKey.emplace(key, std::move(row));
  }
  return step == SQLITE_DONE;
}

std::vector<Row> readTable(sqlite3* db, const Table& table) {
  RowsByKey byKey;
  if (!scan(db, table, "ASC", nullptr, byKey)) {
    // From the far end back to the damage, or to the rows read already.
    const std::optional<std::int64_t> last = byKey.empty() ? std::nullopt : std::optional(byKey.rbegin()->first);
    scan(db, table, "DESC", last ? &*last : nullptr, byKey);
  }
  std::vector<Row> rows;
  for (auto& [key, row] : byKey) rows.push_back(std::move(row));
  return rows;
}

bool writeTable(sqlite3* db, const Table& table, const std::vector<Row>& rows) {
  std::string insert = std::string("INSERT INTO ") + table.name + " (" + table.columns + ") VALUES (?";
  for (int column = 1; column < table.columnCount; ++column) insert += ", ?";
  sqlite::Statement statement(db, insert + ")");
  if (!statement.ok()) return false;
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      sqlite3_bind_value(statement.get(), static_cast<int>(column) + 1, row[column].get());
    }
    if (statement.step() != SQLITE_DONE) return false;
    sqlite3_reset(statement.get());
  }
  return true;
}

}  // namespace

std::string damage(sqlite3* db) {
  sqlite::Statement check(db, "PRAGMA quick_check");
  if (check.step() != SQLITE_ROW) {
    // A busy or locked file is not a damaged one.
    return sqlite::isDamage(sqlite3_errcode(db)) ? sqlite3_errmsg(db) : std::string();
  }
  const std::string finding = check.text(0);
  return finding == "ok" ? std::string() : finding;
}

Rows readable(sqlite3* damaged) {
  // Lets a file shorter than its header says be read up to where it ends,
  // where SQLite would otherwise refuse it whole. Nothing is written to it.
  sqlite::execute(damaged, "PRAGMA writable_schema=ON");
  return Rows{readTable(damaged, kQueue), readTable(damaged, kJournal), readTable(damaged, kInbox)};
}

std::string carry(sqlite3* fresh, const Rows& rows) {
  sqlite::Transaction transaction(fresh);
  if (transaction.began() && writeTable(fresh, kQueue, rows.queue) && writeTable(fresh, kJournal, rows.journal) &&
      writeTable(fresh, kInbox, rows.inbox) && transaction.commit()) {
    return {};
  }
  return sqlite3_errmsg(fresh);  // before the rollback answers "not an error"
}

std::string setAside(const std::string& path, const std::string& stamp) {
  namespace fs = std::filesystem;
  std::error_code error;
  const std::string base = path + ".damaged-" + stamp;
  std::string aside = base;
  for (int n = 2; fs::exists(aside, error) || fs::exists(aside + "-wal", error); ++n) {
    aside = base + "-" + std::to_string(n);
  }
  fs::rename(path, aside, error);
  if (error) return {};
  // They belong to the damaged file: beside the new one SQLite would read
  // them as its own.
  for (const char* companion : {"-wal", "-shm", "-journal"}) {
    if (fs::exists(path + companion, error)) fs::rename(path + companion, aside + companion, error);
  }
  return aside;
}

}  // namespace orvanta::damaged_file
