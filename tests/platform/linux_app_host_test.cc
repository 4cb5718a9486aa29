#include "platform/linux/linux_app_host.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/testing/temporary_paths.h"
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

// The kernel's own answers come from /proc; the URL goes to a stand-in
// xdg-open that writes its arguments into a FIFO, so reading the FIFO waits
// for exactly that, without sleeping or polling.
TEST(LinuxAppHostTest, DescribesThisMachineAndHandsTheURLToXdgOpenAsOneArgument) {
  LinuxAppHost host;
  EXPECT_EQ(host.applicationState(), ApplicationState::Active);
  EXPECT_EQ(host.advertisingIdentifier(), "00000000-0000-0000-0000-000000000000");
  const std::string release = firstLineOf("/proc/sys/kernel/osrelease");
  ASSERT_FALSE(release.empty());
  EXPECT_EQ(host.systemVersion(), leadingVersionNumber(release));
  EXPECT_EQ(leadingVersionNumber("6.1.0-18-amd64"), "6.1.0");
  EXPECT_EQ(leadingVersionNumber("6.1.-rc2"), "6.1");
  const std::string arch = firstLineOf("/proc/sys/kernel/arch");  // not in older kernels
  if (!arch.empty()) {
    EXPECT_EQ(host.machineIdentifier(), arch);
  }
  EXPECT_FALSE(host.machineIdentifier().empty());

  testing::TemporaryPaths scratch;
  const fs::path fifo = fs::path(scratch.root()) / "opened";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const fs::path opener = fs::path(scratch.root()) / "xdg-open";
  std::ofstream(opener) << "#!/bin/sh\nprintf '%s|%s' \"$#\" \"$1\" > '" << fifo.string() << "'\n";
  fs::permissions(opener, fs::perms::owner_all);
  testing::ScopedEnvironment path("PATH", scratch.root() + ":/usr/bin:/bin");
  const std::string url = "https://example.test/a b?q=$(false)&x='1';`y`";
  ASSERT_TRUE(host.openURL(url));
  std::ifstream in(fifo);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "1|" + url);
}

}  // namespace
}  // namespace orvanta
