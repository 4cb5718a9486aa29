// Whole-file reads and crash-safe replacement of a file, for the stores that
// keep their state in one small file each.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace orvanta {

struct FileContents {
  enum class Outcome { kRead, kMissing, kFailed };
  Outcome outcome = Outcome::kFailed;
  std::string data;   // the bytes of the file when kRead
  std::string error;  // why not, for the log, when kFailed
};

// Reads all of path. A path that does not exist is kMissing, not a failure.
FileContents readWholeFile(const std::string& path);

// Replaces path with contents such that a crash at any instant leaves either
// the old file or the new one, never a mix: writes <path>.tmp in the same
// folder (created with mode and set to it before any byte is written), syncs
// it, renames it over path, then syncs the folder. Answers true once the new
// contents are durable. On failure answers false with the reason in *error;
// path then still holds the old contents, unless only the folder sync failed
// (the new contents are in place but may not survive a power loss). One
// writer per path at a time: the temporary name is fixed, so a file left by a
// crash is reused, not piled up.
bool replaceFileAtomically(const std::string& path, std::string_view contents, mode_t mode,
                           std::string* error);

}  // namespace orvanta
