#include "platform/linux/linux_paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/testing/temporary_paths.h"
#include "support/log_lines.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

class LinuxPathsTest : public ::testing::Test {
 protected:
  fs::path base() const { return scratch_.root(); }
  static fs::perms mode(const fs::path& p) { return fs::status(p).permissions() & fs::perms::all; }

  testing::TemporaryPaths scratch_;
};

TEST_F(LinuxPathsTest, CreatesHomeAndBothFoldersPrivately) {
  const fs::path home = base() / "missing" / "parents" / "home";
  const LinuxPaths paths(home.string());
  EXPECT_EQ(fs::path(paths.documentsDirectory()), home / "Documents");
  EXPECT_EQ(fs::path(paths.temporaryDirectory()), home / "tmp");
  for (const fs::path& folder : {home, home / "Documents", home / "tmp"}) {
    ASSERT_TRUE(fs::is_directory(folder)) << folder;
    EXPECT_EQ(mode(folder), fs::perms::owner_all) << folder;
  }
}

TEST_F(LinuxPathsTest, ExistingFoldersAndTheirContentAreUsedAsTheyAre) {
  const fs::path home = base() / "home";
  fs::create_directories(home / "Documents");
  fs::permissions(home / "Documents", fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec);
  std::ofstream(home / "Documents" / "keep") << "x";
  const LinuxPaths paths(home.string());
  EXPECT_TRUE(fs::exists(home / "Documents" / "keep"));
  EXPECT_EQ(mode(home / "Documents"), fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec);
  EXPECT_TRUE(fs::is_directory(home / "tmp"));
}

TEST_F(LinuxPathsTest, AHomeThatCannotBeCreatedIsReported) {
  std::ofstream(base() / "file") << "in the way";
  testing::LogLines log;
  const LinuxPaths paths((base() / "file" / "home").string());
  EXPECT_EQ(fs::path(paths.documentsDirectory()), base() / "file" / "home" / "Documents");
  EXPECT_TRUE(log.contains("cannot create"));
}

}  // namespace
}  // namespace orvanta
