#include "platform/linux/file_secure_store.h"

#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "orvanta/log.h"
#include "platform/linux/file_lock.h"
#include "platform/linux/tagged_json_file.h"
#include "platform/secure_item_table.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

constexpr const char* kItemsKey = "items";
constexpr fs::perms kFolderPerms = fs::perms::owner_all;
constexpr fs::perms kFilePerms = fs::perms::owner_read | fs::perms::owner_write;
constexpr mode_t kFileMode = 0600;

void logFailure(const std::string& what, const fs::path& path, const std::error_code& error) {
  logLine("Orvanta cannot " + what + " " + path.string() + ": " + error.message());
}

// Narrows path to perms when its mode differs. False (logged) when path
// cannot be examined or changed.
bool restrictMode(const fs::path& path, fs::perms perms) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (error) {
    logFailure("examine", path, error);
    return false;
  }
  if ((status.permissions() & fs::perms::mask) == perms) return true;
  fs::permissions(path, perms, fs::perm_options::replace, error);
  if (error) {
    logFailure("restrict the mode of", path, error);
    return false;
  }
  logLine("Orvanta restricted the mode of " + path.string());
  return true;
}

// Makes folder exist with mode 0700. False (logged) when it cannot.
bool preparePrivateFolder(const fs::path& folder) {
  std::error_code error;
  if (folder.has_parent_path()) fs::create_directories(folder.parent_path(), error);
  // A new folder gets at most 0700 from the start (umask can only narrow it);
  // restrictMode repairs an old one and any umask oddity.
  if (!error && fs::create_directory(folder, error) && !error) {
    fs::permissions(folder, kFolderPerms, fs::perm_options::replace, error);
  }
  if (error) {
    logFailure("create", folder, error);
    return false;
  }
  return restrictMode(folder, kFolderPerms);
}

SecureItemTable loadItems(const std::string& path) {
  const Map file = readTaggedMapFile(path, kFileMode);
  std::vector<Map> items;
  const Value* stored = file.find(kItemsKey);
  if (stored == nullptr) return SecureItemTable(std::move(items));
  const Array* array = stored->asArray();
  if (array == nullptr) {
    logLine("Orvanta ignores the items of " + path + ": not a list");
    return SecureItemTable(std::move(items));
  }
  items.reserve(array->size());
  for (const Value& item : *array) {
    if (const Map* map = item.asMap()) {
      items.push_back(*map);
    } else {
      logLine("Orvanta ignores an item of " + path + " that is not a map");
    }
  }
  return SecureItemTable(std::move(items));
}

}  // namespace

FileSecureStore::FileSecureStore(std::string folder)
    : folder_(std::move(folder)), path_((fs::path(folder_) / kFileName).string()) {
  std::error_code ignored;  // an unexaminable file shows when it is read
  if (preparePrivateFolder(folder_) && fs::exists(path_, ignored)) restrictMode(path_, kFilePerms);
}

int FileSecureStore::copyMatching(const Map& query, Map* result) {
  const FileLock lock(FileLock::pathFor(path_));
  return loadItems(path_).copyMatching(query, result);
}

int FileSecureStore::add(const Map& item) {
  return commit([&](SecureItemTable& table) { return table.add(item); });
}

int FileSecureStore::update(const Map& query, const Map& changes) {
  return commit([&](SecureItemTable& table) { return table.update(query, changes); });
}

int FileSecureStore::remove(const Map& query) {
  return commit([&](SecureItemTable& table) { return table.remove(query); });
}

template <typename Change>
int FileSecureStore::commit(Change change) {
  // The folder is checked on every write: it may have been removed or
  // loosened since the store was opened.
  if (!preparePrivateFolder(folder_)) return errSecIO;
  const FileLock lock(FileLock::pathFor(path_));
  SecureItemTable table = loadItems(path_);
  if (const int status = change(table); status != errSecSuccess) return status;
  Map file;
  file.set(kItemsKey, Array(table.items().begin(), table.items().end()));
  return writeTaggedMapFile(path_, file, kFileMode) ? errSecSuccess : errSecIO;
}

}  // namespace orvanta
