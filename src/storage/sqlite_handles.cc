#include "storage/sqlite_handles.h"

namespace orvanta::sqlite {
namespace {

thread_local std::uint64_t damageResults = 0;

// Answers code, counting it when it tells of damage.
int noted(int code) {
  if (isDamage(code)) ++damageResults;
  return code;
}

}  // namespace

Connection open(const std::string& path) {
  sqlite3* raw = nullptr;
  const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  Connection db(raw);
  if (rc != SQLITE_OK) db.reset();
  return db;
}

Statement::Statement(sqlite3* db, std::string_view sql) {
  if (db == nullptr) return;
  sqlite3_stmt* raw = nullptr;
  if (noted(sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &raw, nullptr)) == SQLITE_OK) {
    statement_.reset(raw);
  } else {
    sqlite3_finalize(raw);
  }
}

void Statement::bindText(int index, std::string_view text) {
  sqlite3_bind_text64(statement_.get(), index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Statement::bindBlob(int index, std::string_view bytes) {
  sqlite3_bind_blob64(statement_.get(), index, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
}

void Statement::bindInt(int index, std::int64_t value) { sqlite3_bind_int64(statement_.get(), index, value); }

int Statement::step() { return ok() ? noted(sqlite3_step(statement_.get())) : SQLITE_MISUSE; }

bool Statement::isNull(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }

std::string Statement::text(int column) const {
  const void* data = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  if (data == nullptr || size <= 0) return {};
  return std::string(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

int execute(sqlite3* db, const char* sql) {
  if (db == nullptr) return SQLITE_MISUSE;
  return noted(sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

bool isDamage(int code) {
  const int primary = code & 0xff;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

std::uint64_t damageSeen() { return damageResults; }

Transaction::Transaction(sqlite3* db) : db_(db), began_(execute(db, "BEGIN IMMEDIATE") == SQLITE_OK) {}

Transaction::~Transaction() {
  if (began_ && !done_) execute(db_, "ROLLBACK");
}

bool Transaction::commit() {
  if (!began_ || done_) return false;
  done_ = execute(db_, "COMMIT") == SQLITE_OK;
  return done_;
}

}  // namespace orvanta::sqlite
