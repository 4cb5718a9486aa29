// A map kept in one file as tagged JSON (bytes and dates read back as bytes
// and dates), replaced atomically on every write, with a copy of the last
// good contents beside it.
#pragma once

#include <sys/types.h>

#include <string>

#include "orvanta/value.h"

namespace orvanta {

// Both operations move and replace files beside path under fixed names, so
// the caller holds path's FileLock (or is its only user).

// The map stored at path. A missing file reads as an empty map. A file that
// cannot be read, or that does not hold one tagged JSON object, is reported
// through logLine and moved aside to <path>.corrupt (replacing an older one)
// for inspection; then the last good copy (see writeTaggedMapFile) is put back
// at path (with mode) and read instead. Without a readable last good copy the
// map reads as empty.
Map readTaggedMapFile(const std::string& path, mode_t mode);

// Replaces path with map as compact tagged JSON (see replaceFileAtomically),
// then replaces <path>.last-good with the same contents. Answers whether the
// new contents of path are durable; a failure, and a last good copy that
// could not be refreshed, is reported through logLine. Strings that are not
// valid UTF-8 are stored with U+FFFD in place of the invalid bytes.
bool writeTaggedMapFile(const std::string& path, const Map& map, mode_t mode);

}  // namespace orvanta
