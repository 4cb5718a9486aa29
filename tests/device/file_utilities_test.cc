#include "device/file_utilities.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "orvanta/testing/temporary_paths.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

TEST(FileUtilitiesTest, DatabaseFileLivesInItsFolderInsideDocumentsWhichIsKeptAsItIs) {
  testing::TemporaryPaths paths;
  FileUtilities files(paths);
  const fs::path folder = fs::path(paths.documentsDirectory()) / "OrvantaDatabase";
  const auto databasePath = [&] {
    return fs::path(files.getFilePathAsPerFolder("OrvantaDatabase", "OrvantaOfflineStore.sqlite"));
  };
  EXPECT_EQ(databasePath(), folder / "OrvantaOfflineStore.sqlite");
  EXPECT_TRUE(fs::is_directory(folder));
  EXPECT_FALSE(fs::exists(databasePath()));  // the file itself is the caller's to create

  std::ofstream(folder / "kept.txt") << "data";
  EXPECT_EQ(databasePath(), folder / "OrvantaOfflineStore.sqlite");
  EXPECT_TRUE(fs::exists(folder / "kept.txt"));
}

}  // namespace
}  // namespace orvanta
