#include "platform/linux/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

#include "orvanta/log.h"
#include "platform/linux/posix_error.h"

namespace orvanta {

std::string FileLock::pathFor(const std::string& dataFile) { return dataFile + ".lock"; }

FileLock::FileLock(const std::string& lockFile) {
  // Read-only is enough for flock, and works on a lock file made by a
  // process with another umask.
  int fd;
  do {
    fd = ::open(lockFile.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    logLine("Orvanta goes on without the lock: " + describeFailure("open", lockFile, errno));
    return;
  }
  UniqueFd file(fd);
  int locked;
  do {
    locked = ::flock(file.get(), LOCK_EX);
  } while (locked != 0 && errno == EINTR);
  if (locked != 0) {
    logLine("Orvanta goes on without the lock: " + describeFailure("lock", lockFile, errno));
    return;
  }
  file_ = std::move(file);
}

}  // namespace orvanta
