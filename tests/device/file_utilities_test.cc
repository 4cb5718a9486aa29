#include "device/file_utilities.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/testing/temporary_paths.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

class FileUtilitiesTest : public ::testing::Test {
 protected:
  fs::path documents() const { return paths_.documentsDirectory(); }

  testing::TemporaryPaths paths_;
  FileUtilities files_{paths_};
};

TEST_F(FileUtilitiesTest, DatabaseFileLivesInItsFolderInsideDocuments) {
  const std::string path = files_.getFilePathAsPerFolder("OrvantaDatabase", "OrvantaOfflineStore.sqlite");
  EXPECT_EQ(fs::path(path), documents() / "OrvantaDatabase" / "OrvantaOfflineStore.sqlite");
  EXPECT_TRUE(fs::is_directory(documents() / "OrvantaDatabase"));
  EXPECT_FALSE(fs::exists(path));  // the file itself is the caller's to create

  // No intermediate folders are made, and the path is answered anyway.
  EXPECT_EQ(fs::path(files_.getFilePathAsPerFolder("outer/inner", "file.db")), documents() / "outer/inner/file.db");
  EXPECT_FALSE(fs::exists(documents() / "outer"));
}

TEST_F(FileUtilitiesTest, AnExistingFolderOrFileOfThatNameIsKeptAsItIs) {
  const std::string folder = files_.getFolderAtPath("Store");
  EXPECT_EQ(fs::path(folder), documents() / "Store");
  ASSERT_TRUE(fs::is_directory(folder));
  std::ofstream(fs::path(folder) / "kept.txt") << "data";
  EXPECT_EQ(files_.getFolderAtPath("Store"), folder);
  EXPECT_TRUE(fs::exists(fs::path(folder) / "kept.txt"));

  std::ofstream(documents() / "Taken") << "not a folder";
  EXPECT_EQ(fs::path(files_.getFolderAtPath("Taken")), documents() / "Taken");
  EXPECT_EQ(fs::file_size(documents() / "Taken"), 12u);
}

}  // namespace
}  // namespace orvanta
