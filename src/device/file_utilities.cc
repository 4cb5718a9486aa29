#include "device/file_utilities.h"

#include <filesystem>
#include <system_error>

namespace orvanta {
namespace fs = std::filesystem;

FileUtilities::FileUtilities(const Paths& paths) : paths_(paths) {}

std::string FileUtilities::getFolderAtPath(const std::string& folder) const {
  const fs::path path = fs::path(paths_.documentsDirectory()) / folder;
  std::error_code ignored;
  if (!fs::exists(path, ignored)) fs::create_directory(path, ignored);
  return path.string();
}

std::string FileUtilities::getFilePathAsPerFolder(const std::string& folder, const std::string& file) const {
  return (fs::path(getFolderAtPath(folder)) / file).string();
}

}  // namespace orvanta
