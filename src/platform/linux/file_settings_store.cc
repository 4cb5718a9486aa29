#include "platform/linux/file_settings_store.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/linux/file_lock.h"
#include "platform/linux/tagged_json_file.h"

namespace orvanta {
namespace {

constexpr mode_t kFileMode = 0600;

std::string prepared(std::string path) {
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  std::error_code ignored;  // a missing folder makes the first write fail, logged there
  if (!folder.empty()) std::filesystem::create_directories(folder, ignored);
  return path;
}

// Under the lock: a corrupt file is moved aside and restored from its copy.
Map loadUnderLock(const std::string& path) {
  const FileLock lock(FileLock::pathFor(path));
  return readTaggedMapFile(path, kFileMode);
}

void apply(Map& map, const std::string& key, const std::optional<Value>& value) {
  if (value) {
    map.set(key, *value);
  } else {
    map.erase(key);
  }
}

}  // namespace

// The suite's lock, for one thread of this process: the in-process mutex,
// then the FileLock. Notes the holder, so that its own synchronize() and
// withLock() calls run inside the lock rather than wait for it.
class FileSettingsStore::Exclusive {
 public:
  explicit Exclusive(FileSettingsStore& store)
      : store_(store), inProcess_(store.lockMutex_), file_(FileLock::pathFor(store.path_)) {
    std::lock_guard lock(store_.mutex_);
    store_.lockHolder_ = std::this_thread::get_id();
  }
  ~Exclusive() {
    std::lock_guard lock(store_.mutex_);
    store_.lockHolder_ = std::thread::id();
  }
  Exclusive(const Exclusive&) = delete;
  Exclusive& operator=(const Exclusive&) = delete;

 private:
  FileSettingsStore& store_;
  const std::lock_guard<std::mutex> inProcess_;
  const FileLock file_;
};

FileSettingsStore::FileSettingsStore(std::string path)
    : path_(prepared(std::move(path))), values_(loadUnderLock(path_)), writer_([this] { runWriter(); }) {}

FileSettingsStore::~FileSettingsStore() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wakeWriter_.notify_one();
  writer_.join();
}

std::optional<Value> FileSettingsStore::get(std::string_view key) const {
  std::lock_guard lock(mutex_);
  if (const Value* value = values_.find(key)) return *value;
  return std::nullopt;
}

void FileSettingsStore::set(std::string_view key, Value value) {
  std::lock_guard lock(mutex_);
  values_.set(std::string(key), value);
  changed(key, std::move(value));
}

void FileSettingsStore::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  values_.erase(key);
  changed(key, std::nullopt);
}

void FileSettingsStore::changed(std::string_view key, std::optional<Value> value) {
  // Only the latest change of a key matters to a merge.
  std::erase_if(pending_, [&](const Change& change) { return change.key == key; });
  pending_.push_back(Change{++changes_, std::string(key), std::move(value)});
  writeAsked_ = true;
  wakeWriter_.notify_one();
}

bool FileSettingsStore::holdsLock() const {
  std::lock_guard lock(mutex_);
  return lockHolder_ == std::this_thread::get_id();
}

bool FileSettingsStore::synchronize() {
  if (holdsLock()) return merge();
  const Exclusive exclusive(*this);
  return merge();
}

bool FileSettingsStore::withLock(const std::function<void()>& body) {
  if (holdsLock()) {
    body();
    return merge();
  }
  const Exclusive exclusive(*this);
  merge();  // body reads what other processes wrote; a failed write shows below
  body();
  return merge();
}

bool FileSettingsStore::merge() {
  std::vector<Change> batch;
  {
    std::lock_guard lock(mutex_);
    batch = pending_;
  }
  // Changes made from here on stay pending for the next merge. No other
  // merge runs meanwhile: this thread holds the lock.
  Map file = readTaggedMapFile(path_, kFileMode);
  bool written = true;
  if (!batch.empty()) {
    for (const Change& change : batch) apply(file, change.key, change.value);
    written = writeTaggedMapFile(path_, file, kFileMode);
  }
  std::lock_guard lock(mutex_);
  if (written && !batch.empty()) {
    const std::uint64_t last = batch.back().number;
    std::erase_if(pending_, [last](const Change& change) { return change.number <= last; });
  }
  values_ = std::move(file);
  for (const Change& change : pending_) apply(values_, change.key, change.value);
  return written;
}

void FileSettingsStore::runWriter() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wakeWriter_.wait(lock, [this] { return writeAsked_ || stopping_; });
    // When stopping, one last attempt for what is still pending, even if an
    // earlier attempt failed; then no more.
    const bool last = stopping_;
    writeAsked_ = false;
    if (!pending_.empty()) {
      lock.unlock();
      {
        const Exclusive exclusive(*this);
        merge();
      }
      lock.lock();
    }
    if (last) return;
  }
}

}  // namespace orvanta
