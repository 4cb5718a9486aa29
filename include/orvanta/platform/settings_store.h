#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

// One suite of stored settings: key/value pairs that outlive the process.
// Reads come from memory. Writes are visible to readers at once and persisted
// in order in the background; synchronize() returns once everything written so
// far is durable. Thread-safe.
//
// A suite may be shared with other processes (the app and its notification
// extensions). Then each process's set() and remove() reach the shared suite
// key by key, never by rewriting keys it did not change; what other processes
// wrote becomes visible no later than the next synchronize() or start.
class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  virtual std::optional<Value> get(std::string_view key) const = 0;
  virtual void set(std::string_view key, Value value) = 0;
  virtual void remove(std::string_view key) = 0;
  // Persists this process's changes and takes in those of other processes
  // sharing the suite. Answers false when the suite could not be persisted
  // (the reason is logged).
  virtual bool synchronize() = 0;

  // A read-modify-write that no other holder of the suite's lock can come
  // between: runs body on the calling thread while holding a lock that every
  // withLock on this suite honours, in this process and in others sharing it.
  // body's get() calls see the suite as it stands, what other processes wrote
  // included; its set() and remove() calls are durable before the lock is
  // released. Answers whether they are (false: logged, and still pending as
  // after a failed synchronize()). body may call synchronize() and withLock of
  // this suite (they run inside the held lock); plain set() and remove() from
  // other threads are not held back.
  //
  // The default serves a suite that no other process shares: body runs under
  // a lock of this object's, then synchronize().
  virtual bool withLock(const std::function<void()>& body);

 private:
  std::recursive_mutex exclusive_;  // the default withLock's lock
};

}  // namespace orvanta
