// The tests' own view of the database file, through a connection of their
// own, so that what they check is what is on disk rather than what the code
// under test believes.
#pragma once

#include <string>
#include <vector>

#include "storage/sqlite_handles.h"

namespace orvanta::testing {

class DatabaseProbe {
 public:
  // Opens the existing file at path (never creates it).
  explicit DatabaseProbe(const std::string& path) {
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    db_.reset(raw);
    if (rc != SQLITE_OK) db_.reset();
  }

  // Every row of sql, each column as text ("NULL" for null).
  std::vector<std::vector<std::string>> rows(const std::string& sql) const {
    std::vector<std::vector<std::string>> out;
    sqlite::Statement statement(db_.get(), sql);
    while (statement.step() == SQLITE_ROW) {
      std::vector<std::string>& row = out.emplace_back();
      for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
        row.push_back(statement.isNull(i) ? "NULL" : statement.text(i));
      }
    }
    return out;
  }
  // The first column of every row.
  std::vector<std::string> column(const std::string& sql) const {
    std::vector<std::string> out;
    for (auto& row : rows(sql)) out.push_back(std::move(row.front()));
    return out;
  }
  // Runs statements that answer nothing; false on error.
  bool execute(const std::string& sql) const {
    return sqlite::execute(db_.get(), sql.c_str()) == SQLITE_OK;
  }
  // Whether a table of that name exists.
  bool hasTable(const std::string& name) const {
    return !rows("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = '" + name + "'")
                .empty();
  }

 private:
  sqlite::Connection db_;
};

// The path of the client's database under a documents folder.
inline std::string databasePathIn(const std::string& documentsDirectory) {
  return documentsDirectory + "/OrvantaDatabase/OrvantaOfflineStore.sqlite";
}

}  // namespace orvanta::testing
