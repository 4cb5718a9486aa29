#include "storage/database_source.h"

#include "storage/schema.h"

namespace orvanta {
namespace {

constexpr const char* kFolder = "OrvantaDatabase";
constexpr const char* kFile = "OrvantaOfflineStore.sqlite";

}  // namespace

DatabaseSource::DatabaseSource(FileUtilities& files, DateFormator& dates, const Logger& logger)
    : database_([&files] { return files.getFilePathAsPerFolder(kFolder, kFile); },
                [&dates] { return dates.getUserLocalTimeStamp(); }, logger),
      queue_(database_),
      inbox_(database_, dates),
      journal_(database_, logger),
      reports_(database_, inbox_, journal_) {}

// Opening makes a missing file, which then holds no table: so it is new to
// the schema as well.
void DatabaseSource::createDatabase() { database_.run(schema::createTables); }

void DatabaseSource::createNewTablesInDatabase() { database_.run(schema::createInbox); }

bool DatabaseSource::openDBConnection() { return queue_.open(); }

bool DatabaseSource::IsDatabaseOpen() const { return queue_.isOpen(); }

bool DatabaseSource::closeDBConnection() { return queue_.close(); }

void DatabaseSource::getDBConnection(const std::function<void(sqlite3*)>& work) { queue_.withConnection(work); }

bool DatabaseSource::addEvent(const std::string& name, const std::string& data) { return queue_.add(name, data); }

bool DatabaseSource::deleteData(std::int64_t id) { return queue_.remove(id); }

std::optional<OrvantaEventModel> DatabaseSource::getEvent() { return queue_.oldest(); }

std::optional<std::vector<OrvantaEventModel>> DatabaseSource::getAllEvents() { return queue_.all(); }

void DatabaseSource::NotificationReceived(const Map& notification, const std::string& status) {
  inbox_.received(notification, status);
}

void DatabaseSource::NotificationOpened(const Map& notification, const std::string& status) {
  inbox_.opened(notification, status);
}

bool DatabaseSource::isTRIDPresent(const std::string& trid) { return inbox_.isPresent(trid); }

bool DatabaseSource::isTRIDOpened(const std::string& trid) { return inbox_.isOpened(trid); }

Array DatabaseSource::GetAllReceivedNotifications() { return inbox_.newest(); }

bool DatabaseSource::DeleteAllReceivedNotifications() { return inbox_.removeAll(); }

std::optional<std::int64_t> DatabaseSource::journalEvent(const std::string& name, const std::string& data) {
  return journal_.record(name, data);
}

bool DatabaseSource::dropJournaled(std::int64_t id) { return journal_.drop(id); }

bool DatabaseSource::moveJournaledToQueue(std::int64_t id) { return journal_.moveToQueue(id); }

int DatabaseSource::recoverJournal() { return journal_.moveAllToQueue(); }

InboxWrite DatabaseSource::recordDelivery(const Map& notification, const std::string& status,
                                          const std::optional<JournalEntry>& report) {
  return reports_.recordDelivery(notification, status, report);
}

InboxWrite DatabaseSource::recordOpening(const std::string& trid, const std::string& status,
                                         const JournalEntry& report) {
  return reports_.recordOpening(trid, status, report);
}

}  // namespace orvanta
