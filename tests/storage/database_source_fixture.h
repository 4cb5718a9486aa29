// The database alone, over the test doubles of the platform it needs: the
// fixture of the storage tests.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sqlite3.h>

#include "orvanta/testing/temporary_paths.h"
#include "orvanta/testing/virtual_clock.h"
#include "storage/database_source.h"
#include "support/database_probe.h"

namespace orvanta {

// A notification with every kind of value in it.
inline Map notification(const std::string& trid) {
  return Map{{"aps", Map{{"alert", Map{{"title", "Sale"}}}, {"badge", 3}}},
             {"payload", Map{{"trid", trid}, {"deeplink", "shop://offers?atcm=spring"}}},
             {"extra", Map{{"list", Array{1, 2.5, "x", Value(Null{})}}, {"raw", Bytes{0, 255}}}}};
}

class DatabaseSourceTest : public ::testing::Test {
 protected:
  DatabaseSource& database() { return database_; }
  std::string path() { return testing::databasePathIn(paths_.documentsDirectory()); }
  testing::DatabaseProbe probe() { return testing::DatabaseProbe(path()); }
  // Every inbox row, oldest first, as "ID=Status", straight from the file.
  std::vector<std::string> inbox() {
    return probe().column("SELECT ID || '=' || Status FROM trv_notifications ORDER BY rowid");
  }
  // Each delivery one second after the one before, so the order is defined.
  void deliver(const std::string& trid) {
    clock_.advance(1);
    database().NotificationReceived(notification(trid), "unread");
  }
  // Collects from now on each statement's text as SQLite runs it; traced()
  // hands over what was collected.
  void trace() {
    const auto record = [](unsigned, void* texts, void* statement, void*) {
      static_cast<std::vector<std::string>*>(texts)->emplace_back(sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
      return 0;
    };
    database().getDBConnection([&](sqlite3* db) { sqlite3_trace_v2(db, SQLITE_TRACE_STMT, record, &traced_); });
  }
  std::vector<std::string> traced() { return std::exchange(traced_, {}); }

  std::vector<std::string> traced_;  // outlives the connection that writes to it
  // 2023-11-14 22:13:20 UTC, the zone UTC.
  testing::VirtualClock clock_;
  testing::TemporaryPaths paths_;
  FileUtilities files_{paths_};
  DateFormator dates_{clock_, [] { return std::optional<Date>(); }};
  Logger logger_{"Orvanta"};
  DatabaseSource database_{files_, dates_, logger_};
};

}  // namespace orvanta
