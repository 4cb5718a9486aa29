#include "platform/linux/linux_paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/testing/temporary_paths.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

fs::perms mode(const fs::path& p) { return fs::status(p).permissions() & fs::perms::all; }

TEST(LinuxPathsTest, CreatesMissingFoldersPrivatelyAndUsesExistingOnesAsTheyAre) {
  testing::TemporaryPaths scratch;
  const fs::path home = fs::path(scratch.root()) / "missing" / "parents" / "home";
  {
    const LinuxPaths paths(home.string());
    EXPECT_EQ(fs::path(paths.documentsDirectory()), home / "Documents");
    EXPECT_EQ(fs::path(paths.temporaryDirectory()), home / "tmp");
  }
  for (const fs::path& folder : {home, home / "Documents", home / "tmp"}) {
    ASSERT_TRUE(fs::is_directory(folder)) << folder;
    EXPECT_EQ(mode(folder), fs::perms::owner_all) << folder;
  }

  const fs::perms shared = fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec;
  fs::permissions(home / "Documents", shared);
  std::ofstream(home / "Documents" / "keep") << "x";
  const LinuxPaths again(home.string());
  EXPECT_EQ(mode(home / "Documents"), shared);
  EXPECT_TRUE(fs::exists(home / "Documents" / "keep"));
}

}  // namespace
}  // namespace orvanta
