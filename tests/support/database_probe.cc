#include "support/database_probe.h"

namespace orvanta::testing {

DatabaseProbe::DatabaseProbe(const std::string& path) {
  sqlite3* raw = nullptr;
  const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
  db_.reset(raw);
  if (rc != SQLITE_OK) db_.reset();
}

std::vector<std::vector<std::string>> DatabaseProbe::rows(const std::string& sql) const {
  std::vector<std::vector<std::string>> out;
  sqlite::Statement statement(db_.get(), sql);
  while (statement.step() == SQLITE_ROW) {
    std::vector<std::string> row;
    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
      row.push_back(statement.isNull(i) ? "NULL" : statement.text(i));
    }
    out.push_back(std::move(row));
  }
  return out;
}

std::vector<std::string> DatabaseProbe::column(const std::string& sql) const {
  std::vector<std::string> out;
  for (auto& row : rows(sql)) out.push_back(std::move(row.front()));
  return out;
}

bool DatabaseProbe::execute(const std::string& sql) const {
  return sqlite::execute(db_.get(), sql.c_str()) == SQLITE_OK;
}

bool DatabaseProbe::hasTable(const std::string& name) const {
  return !rows("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = '" + name + "'").empty();
}

std::string databasePathIn(const std::string& documentsDirectory) {
  return documentsDirectory + "/OrvantaDatabase/OrvantaOfflineStore.sqlite";
}

}  // namespace orvanta::testing
