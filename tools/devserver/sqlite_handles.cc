#include "devserver/sqlite_handles.h"

#include <stdexcept>

namespace orvanta::devserver {
namespace {

[[noreturn]] void fail(sqlite3* db, std::string_view what) {
  throw std::runtime_error(std::string(what) + ": " + (db ? sqlite3_errmsg(db) : "out of memory"));
}

}  // namespace

SqliteDatabase::SqliteDatabase(const std::filesystem::path& path) {
  sqlite3* raw = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  db_.reset(raw);  // sqlite3_open_v2 hands out a handle even on failure; it must be closed
  if (rc != SQLITE_OK) fail(raw, "cannot open " + path.string());
}

void SqliteDatabase::execute(const char* sql) {
  if (sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    fail(db_.get(), "statement failed");
  }
}

SqliteStatement::SqliteStatement(const SqliteDatabase& db, const char* sql) : db_(db.handle()) {
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(db_, sql, -1, &raw, nullptr) != SQLITE_OK) fail(db_, "cannot prepare");
  statement_.reset(raw);
}

void SqliteStatement::bind(int index, std::int64_t value) {
  if (sqlite3_bind_int64(statement_.get(), index, value) != SQLITE_OK) fail(db_, "bind");
}

void SqliteStatement::bind(int index, std::string_view text) {
  if (sqlite3_bind_text64(statement_.get(), index, text.data(), text.size(), SQLITE_TRANSIENT,
                          SQLITE_UTF8) != SQLITE_OK) {
    fail(db_, "bind");
  }
}

void SqliteStatement::bindBlob(int index, std::string_view bytes) {
  // A zero-length blob with a null pointer would bind NULL; an empty body is still a body.
  if (sqlite3_bind_blob64(statement_.get(), index, bytes.empty() ? "" : bytes.data(), bytes.size(),
                          SQLITE_TRANSIENT) != SQLITE_OK) {
    fail(db_, "bind");
  }
}

void SqliteStatement::bindNull(int index) {
  if (sqlite3_bind_null(statement_.get(), index) != SQLITE_OK) fail(db_, "bind");
}

bool SqliteStatement::step() {
  switch (sqlite3_step(statement_.get())) {
    case SQLITE_ROW:
      return true;
    case SQLITE_DONE:
      return false;
    default:
      fail(db_, "step");
  }
}

bool SqliteStatement::isNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string SqliteStatement::bytes(int column) const {
  const void* data = sqlite3_column_blob(statement_.get(), column);
  int size = sqlite3_column_bytes(statement_.get(), column);
  return data ? std::string(static_cast<const char*>(data), static_cast<std::size_t>(size)) : "";
}

}  // namespace orvanta::devserver
