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
  std::lock_guard lock(sinkMutex());
  if (currentSink()) {
    currentSink()(line);
    return;
  }
  std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

}  // namespace orvanta
