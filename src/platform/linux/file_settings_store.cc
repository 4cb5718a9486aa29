#include "platform/linux/file_settings_store.h"

#include <filesystem>
#include <system_error>
#include <utility>

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

}  // namespace

FileSettingsStore::FileSettingsStore(std::string path)
    : path_(prepared(std::move(path))),
      values_(readTaggedMapFile(path_)),
      writer_([this] { runWriter(); }) {}

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
  if (const Value* held = values_.find(key); held != nullptr && *held == value) return;
  values_.set(std::string(key), std::move(value));
  changed();
}

void FileSettingsStore::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  if (values_.erase(key)) changed();
}

void FileSettingsStore::changed() {
  ++version_;
  pending_ = true;
  wakeWriter_.notify_one();
}

bool FileSettingsStore::synchronize() {
  std::unique_lock lock(mutex_);
  const std::uint64_t target = version_;
  if (durableVersion_ >= target) return true;
  // The attempt after those already begun sees every change up to target.
  // Asking for it also retries a write that failed.
  const std::uint64_t ticket = snapshotsTaken_ + 1;
  pending_ = true;
  wakeWriter_.notify_one();
  writeEnded_.wait(lock, [&] { return durableVersion_ >= target || attemptsEnded_ >= ticket; });
  return durableVersion_ >= target;
}

void FileSettingsStore::runWriter() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wakeWriter_.wait(lock,
                     [this] { return (pending_ && version_ > durableVersion_) || stopping_; });
    // When stopping, one last attempt for what is not yet durable, even if an
    // earlier attempt failed; then no more.
    const bool last = stopping_;
    pending_ = false;
    if (version_ > durableVersion_) {
      const std::uint64_t version = version_;
      ++snapshotsTaken_;
      bool written;
      {
        const Map snapshot = values_;
        lock.unlock();
        written = writeTaggedMapFile(path_, snapshot, kFileMode);
      }
      lock.lock();
      ++attemptsEnded_;
      if (written) durableVersion_ = version;
      writeEnded_.notify_all();
    }
    if (last) return;
  }
}

}  // namespace orvanta
