// The library's one log sink. Every diagnostic line goes through it; hosts may
// redirect it. No personal data is written at the default level.
#pragma once

#include <functional>
#include <string_view>

namespace orvanta {

using LogSink = std::function<void(std::string_view line)>;

// Replaces the sink (an empty sink restores the default, standard error).
// Thread-safe; a line being written while the sink changes goes to one of them.
// Not to be called from within a sink.
void setLogSink(LogSink sink);
// Writes one line through the sink. Thread-safe: the sink gets one line at a
// time. A line logged from within the sink goes to standard error.
void logLine(std::string_view line);

}  // namespace orvanta
