// RAII owners of SQLite's C handles, and the few helpers the database code
// repeats. None of them throws: every failure is SQLite's result code.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orvanta::sqlite {

struct CloseConnection {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

// One connection; closed (with sqlite3_close_v2) when the owner goes.
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

// Opens path read-write, creating the file when missing (what sqlite3_open
// does). Answers an empty Connection when the open fails; the handle SQLite
// made for the failure is closed here.
Connection open(const std::string& path);

// One prepared statement, finalized on destruction. Binds copy their values
// (SQLITE_TRANSIENT). Not thread-safe; the connection's owner serializes use.
class Statement {
 public:
  // Prepares sql on db (db may be null: the statement is then not ok()).
  Statement(sqlite3* db, std::string_view sql);

  bool ok() const { return statement_ != nullptr; }
  sqlite3_stmt* get() const { return statement_.get(); }

  void bindText(int index, std::string_view text);
  void bindBlob(int index, std::string_view bytes);
  void bindInt(int index, std::int64_t value);
  // SQLITE_ROW, SQLITE_DONE or an error code; SQLITE_MISUSE when not ok().
  int step();

  bool isNull(int column) const;
  std::int64_t integer(int column) const;
  // Text or blob column as bytes; empty for NULL.
  std::string text(int column) const;

 private:
  std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement_;
};

// Runs sql (one or more statements, no results) and answers SQLite's code.
int execute(sqlite3* db, const char* sql);

// Whether code (a primary or extended result code) says that the file is not
// a database or is damaged.
bool isDamage(int code);
// How many results of Statement and execute on this thread so far said so:
// work that runs under the database's lock compares it before and after.
std::uint64_t damageSeen();

// BEGIN IMMEDIATE on construction; ROLLBACK on destruction unless commit()
// succeeded, so an early return leaves the database as it was.
class Transaction {
 public:
  explicit Transaction(sqlite3* db);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool began() const { return began_; }
  // Answers whether the COMMIT succeeded.
  bool commit();

 private:
  sqlite3* db_;
  bool began_;
  bool done_ = false;
};

}  // namespace orvanta::sqlite
