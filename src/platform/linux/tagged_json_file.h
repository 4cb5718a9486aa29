// A map kept in one file as tagged JSON (bytes and dates read back as bytes
// and dates), replaced atomically on every write.
#pragma once

#include <sys/types.h>

#include <string>

#include "orvanta/value.h"

namespace orvanta {

// The map stored at path. A missing file reads as an empty map. A file that
// cannot be read, or that does not hold one tagged JSON object, is reported
// through logLine, moved aside to <path>.corrupt (replacing an older one) so
// that the next write does not destroy it, and reads as an empty map.
Map readTaggedMapFile(const std::string& path);

// Replaces path with map as compact tagged JSON (see replaceFileAtomically).
// Answers whether the new contents are durable; a failure is reported through
// logLine. Strings that are not valid UTF-8 are stored with U+FFFD in place of
// the invalid bytes.
bool writeTaggedMapFile(const std::string& path, const Map& map, mode_t mode);

}  // namespace orvanta
