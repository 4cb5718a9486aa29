#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orvanta::devserver {

// Owns one SQLite connection. Not thread-safe: the owner serializes its use.
class SqliteDatabase {
 public:
  // Opens (creating if needed) the file at `path`. Throws std::runtime_error on failure.
  explicit SqliteDatabase(const std::filesystem::path& path);

  // Runs one or more statements without results. Throws std::runtime_error on failure.
  void execute(const char* sql);

  sqlite3* handle() const { return db_.get(); }

 private:
  struct Closer {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
  };
  std::unique_ptr<sqlite3, Closer> db_;
};

// One prepared statement, finalized on destruction. Bind indexes start at 1, columns at 0.
class SqliteStatement {
 public:
  // Throws std::runtime_error when `sql` does not compile.
  SqliteStatement(const SqliteDatabase& db, const char* sql);

  void bind(int index, std::int64_t value);
  void bind(int index, std::string_view text);
  void bindBlob(int index, std::string_view bytes);
  void bindNull(int index);
  template <typename T>
  void bind(int index, const std::optional<T>& value) {
    if (value) {
      bind(index, *value);
    } else {
      bindNull(index);
    }
  }

  // Advances to the next row: true when a row is ready, false when done. Throws on error.
  bool step();

  bool isNull(int column) const;
  std::int64_t integer(int column) const;
  // Text or blob column as bytes (empty for NULL).
  std::string bytes(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  sqlite3* db_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

}  // namespace orvanta::devserver
