// The one place where errno becomes words, for the adapters' log lines.
#pragma once

#include <string>

namespace orvanta {

// "<operation> <path>: <reason for err>", e.g. "rename /a/b.tmp: No such file
// or directory".
std::string describeFailure(const char* operation, const std::string& path, int err);

}  // namespace orvanta
