#include "platform/linux/linux_app_host.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/testing/temporary_paths.h"
#include "support/log_lines.h"
#include "support/scoped_environment.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;

std::string firstLineOf(const fs::path& file) {
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  return line;
}

TEST(LeadingVersionNumberTest, KeepsTheNumericDottedStartOfAKernelRelease) {
  const std::pair<const char*, const char*> cases[] = {
      {"6.1.0-18-amd64", "6.1.0"}, {"5.15.0-91-generic", "5.15.0"}, {"6.8.12+bpo", "6.8.12"}, {"4.19.0", "4.19.0"},
      {"6.10", "6.10"}, {"6.1.-rc2", "6.1"}, {"6", "6"}, {".6.1", ""}, {"rc-6.1", ""}, {"", ""}};
  for (const auto& [release, version] : cases) EXPECT_EQ(leadingVersionNumber(release), version) << release;
}

TEST(LinuxAppHostTest, DescribesThisMachine) {
  const LinuxAppHost host;
  EXPECT_EQ(host.applicationState(), ApplicationState::Active);
  EXPECT_EQ(host.advertisingIdentifier(), "00000000-0000-0000-0000-000000000000");
  const std::string version = host.systemVersion();
  ASSERT_FALSE(version.empty());
  EXPECT_TRUE(std::ranges::all_of(version, [](char c) { return (c >= '0' && c <= '9') || c == '.'; })) << version;
  EXPECT_NE(version.front(), '.');
  EXPECT_NE(version.back(), '.');
  EXPECT_FALSE(host.machineIdentifier().empty());
  // The kernel tells the same through /proc.
  const std::string release = firstLineOf("/proc/sys/kernel/osrelease");
  if (!release.empty()) {
    EXPECT_EQ(release.rfind(host.systemVersion(), 0), 0u) << release;
  }
  const std::string arch = firstLineOf("/proc/sys/kernel/arch");
  if (!arch.empty()) {
    EXPECT_EQ(host.machineIdentifier(), arch);
  }
}

TEST(LinuxAppHostTest, RemoteRegistrationOnlyExplainsItselfInTheLog) {
  testing::LogLines log;
  LinuxAppHost().registerForRemoteNotifications();
  EXPECT_EQ(log.lines().size(), 1u);
}

class OpenURLTest : public ::testing::Test {
 protected:
  fs::path bin() const { return fs::path(scratch_.root()) / "bin"; }
  void SetUp() override { fs::create_directory(bin()); }

  testing::TemporaryPaths scratch_;
};

TEST_F(OpenURLTest, FailsAndSaysSoWhenXdgOpenIsMissing) {
  testing::ScopedEnvironment path("PATH", bin().string());
  testing::LogLines log;
  EXPECT_FALSE(LinuxAppHost().openURL("https://example.test/"));
  EXPECT_TRUE(log.contains("xdg-open"));
  EXPECT_FALSE(log.contains("example.test"));
}

// A stand-in xdg-open writes its argument into a FIFO; reading the FIFO waits
// for exactly that, without sleeping or polling.
TEST_F(OpenURLTest, HandsTheURLToXdgOpenAsOneUninterpretedArgument) {
  const fs::path fifo = fs::path(scratch_.root()) / "opened";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const fs::path opener = bin() / "xdg-open";
  std::ofstream(opener) << "#!/bin/sh\nprintf '%s|%s' \"$#\" \"$1\" > '" << fifo.string() << "'\n";
  fs::permissions(opener, fs::perms::owner_all);
  testing::ScopedEnvironment path("PATH", bin().string() + ":/usr/bin:/bin");

  const std::string url = "https://example.test/a b?q=$(false)&x='1';`y`";
  ASSERT_TRUE(LinuxAppHost().openURL(url));
  std::ifstream in(fifo);
  const std::string received((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(received, "1|" + url);
}

}  // namespace
}  // namespace orvanta
