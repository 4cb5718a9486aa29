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
  explicit DatabaseProbe(const std::string& path);

  // Every row of sql, each column as text ("NULL" for null).
  std::vector<std::vector<std::string>> rows(const std::string& sql) const;
  // The first column of every row.
  std::vector<std::string> column(const std::string& sql) const;
  // Runs statements that answer nothing; false on error.
  bool execute(const std::string& sql) const;
  // Whether a table of that name exists.
  bool hasTable(const std::string& name) const;

 private:
  sqlite::Connection db_;
};

// The path of the client's database under a documents folder.
std::string databasePathIn(const std::string& documentsDirectory);

}  // namespace orvanta::testing
