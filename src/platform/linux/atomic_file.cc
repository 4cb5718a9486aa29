#include "platform/linux/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/posix_error.h"
#include "platform/linux/unique_fd.h"

namespace orvanta {
namespace {

int openRetrying(const char* path, int flags, mode_t mode = 0) {
  int fd;
  do {
    fd = ::open(path, flags | O_CLOEXEC, mode);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

bool writeAll(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t written = ::write(fd, data.data(), data.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::string folderOf(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  return parent.empty() ? std::string(".") : parent.string();
}

// Writes and syncs the temporary file; answers 0 or the errno of the failing
// step with its name in *step.
int writeTemporary(const std::string& temporary, std::string_view contents, mode_t mode,
                   const char** step) {
  const UniqueFd file(
      openRetrying(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, mode));
  *step = "create";
  if (!file) return errno;
  // A temporary file left by a crash keeps its old mode; narrow it before
  // the new contents go in.
  *step = "set the mode of";
  if (::fchmod(file.get(), mode) != 0) return errno;
  *step = "write";
  if (!writeAll(file.get(), contents)) return errno;
  // Once fsync succeeds the contents are on disk; close cannot lose them.
  *step = "sync";
  if (::fsync(file.get()) != 0) return errno;
  return 0;
}

}  // namespace

FileContents readWholeFile(const std::string& path) {
  FileContents result;
  const UniqueFd file(openRetrying(path.c_str(), O_RDONLY));
  if (!file) {
    if (errno == ENOENT) {
      result.outcome = FileContents::Outcome::kMissing;
    } else {
      result.error = describeFailure("open", path, errno);
    }
    return result;
  }
  char buffer[64 * 1024];
  for (;;) {
    const ssize_t n = ::read(file.get(), buffer, sizeof buffer);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      result.data.clear();
      result.error = describeFailure("read", path, errno);
      return result;
    }
    result.data.append(buffer, static_cast<std::size_t>(n));
  }
  result.outcome = FileContents::Outcome::kRead;
  return result;
}

bool replaceFileAtomically(const std::string& path, std::string_view contents, mode_t mode,
                           std::string* error) {
  const std::string temporary = path + ".tmp";
  const char* step = "";
  if (const int err = writeTemporary(temporary, contents, mode, &step); err != 0) {
    *error = describeFailure(step, temporary, err);
    ::unlink(temporary.c_str());
    return false;
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    *error = describeFailure("rename", temporary, errno);
    ::unlink(temporary.c_str());
    return false;
  }
  // The rename itself is durable only once the folder's entry is synced.
  const std::string folder = folderOf(path);
  const UniqueFd directory(openRetrying(folder.c_str(), O_RDONLY | O_DIRECTORY));
  if (!directory) {
    *error = describeFailure("open folder", folder, errno);
    return false;
  }
  // EINVAL: the file system cannot sync folders; there is nothing more to do.
  if (::fsync(directory.get()) != 0 && errno != EINVAL) {
    *error = describeFailure("sync folder", folder, errno);
    return false;
  }
  return true;
}

}  // namespace orvanta
