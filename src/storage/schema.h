// The tables of the client's database file, and which of them a file gets.
#pragma once

struct sqlite3;

namespace orvanta::schema {

// Both run on a connection inside Database::run; errors are ignored.
//
// createTables: a file that holds no table at all gets every table in one
// transaction, so that a crash leaves all or none. SQLite writes the file
// before its first table, so such a file is new, or one whose making a crash
// cut short. Any other file only gains the inbox and the journal when it
// lacks them: OfflineEvents is never created in an existing file.
void createTables(sqlite3* db);
// trv_notifications alone, when missing.
void createInbox(sqlite3* db);

}  // namespace orvanta::schema
