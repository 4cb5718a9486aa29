#include "platform/linux/linux_paths.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "orvanta/log.h"

namespace orvanta {
namespace {
namespace fs = std::filesystem;

// Creates path with mode 0700 (unless it exists). mkdir sets the mode as it
// creates, so the folder is never open to others, not even briefly.
void makePrivateFolder(const fs::path& path) {
  if (::mkdir(path.c_str(), 0700) == 0) return;
  const int error = errno;
  if (error == EEXIST) return;
  logLine("Orvanta cannot create " + path.string() + ": " + std::generic_category().message(error));
}

}  // namespace

LinuxPaths::LinuxPaths(std::string home)
    : documents_((fs::path(home) / "Documents").string()), temporary_((fs::path(home) / "tmp").string()) {
  const fs::path root(std::move(home));
  if (root.has_parent_path()) {
    std::error_code error;
    fs::create_directories(root.parent_path(), error);
  }
  makePrivateFolder(root);
  makePrivateFolder(documents_);
  makePrivateFolder(temporary_);
}

std::string LinuxPaths::documentsDirectory() const { return documents_; }
std::string LinuxPaths::temporaryDirectory() const { return temporary_; }

}  // namespace orvanta
