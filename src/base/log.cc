#include "orvanta/log.h"

#include <cstdio>
#include <mutex>
#include <string>

namespace orvanta {
namespace {

std::mutex& sinkMutex() {
  static std::mutex m;
  return m;
}

LogSink& currentSink() {
  static LogSink sink;
  return sink;
}

}  // namespace

void setLogSink(LogSink sink) {
  std::lock_guard lock(sinkMutex());
  currentSink() = std::move(sink);
}

void logLine(std::string_view line) {
  // The sink runs under the lock, one line at a time. A sink that itself
  // logs through the library would wait for that lock forever: its lines go
  // to standard error instead.
  thread_local bool insideSink = false;
  if (!insideSink) {
    std::lock_guard lock(sinkMutex());
    if (currentSink()) {
      insideSink = true;
      struct Leave {
        ~Leave() { insideSink = false; }
      } leave;
      currentSink()(line);
      return;
    }
  }
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

}  // namespace orvanta
