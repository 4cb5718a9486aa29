// The Linux platform's clock and URL opener, against the real system: the
// process zone and a program found on PATH.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>

#include "platform/linux/linux_app_host.h"
#include "platform/linux/linux_clock.h"
#include "orvanta/testing/temporary_paths.h"
#include "support/civil_time.h"
#include "support/scoped_environment.h"

namespace orvanta {
namespace {

namespace fs = std::filesystem;
using testing::ScopedTimeZone;
using testing::utcSeconds;
using testing::wallTime;

// Every field of a local time, weekday and offset included, for one comparison.
auto fields(const LocalTime& t) {
  return std::tuple(t.year, t.month, t.day, t.hour, t.minute, t.second, t.weekday,
                    t.utcOffsetSeconds);
}

TEST(LinuxClockTest, ConvertsInUtcAndInAHalfHourZoneWithDaylightSaving) {
  std::optional<ScopedTimeZone> zone(std::in_place, "UTC");
  {
    const LinuxClock clock;
    const long long leapDay = utcSeconds(2024, 2, 29, 23, 59, 59);  // a Thursday
    EXPECT_EQ(fields(clock.toLocal(leapDay)), std::tuple(2024, 2, 29, 23, 59, 59, 4, 0L));
    EXPECT_EQ(clock.fromLocal(wallTime(2024, 2, 29, 23, 59, 59)), leapDay);
  }
  if (!ScopedTimeZone::installed("Australia/Adelaide")) GTEST_SKIP() << "no Australia/Adelaide";
  zone.reset();
  zone.emplace("Australia/Adelaide");
  const LinuxClock clock;
  // +10:30 in the southern summer, +9:30 in winter.
  const long long summer = utcSeconds(2024, 1, 15, 12);
  const long long winter = utcSeconds(2024, 7, 15, 14, 45);
  EXPECT_EQ(fields(clock.toLocal(summer)), std::tuple(2024, 1, 15, 22, 30, 0, 1, 37800L));
  EXPECT_EQ(fields(clock.toLocal(winter)), std::tuple(2024, 7, 16, 0, 15, 0, 2, 34200L));
  EXPECT_EQ(clock.fromLocal(wallTime(2024, 1, 15, 22, 30)), summer);
  EXPECT_EQ(clock.fromLocal(wallTime(2024, 7, 16, 0, 15)), winter);
}

std::string firstLineOf(const fs::path& file) {
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  return line;
}

// The kernel's own answers, read from /proc.
TEST(LinuxAppHostTest, DescribesTheRunningSystem) {
  LinuxAppHost host;
  EXPECT_EQ(host.advertisingIdentifier(), "00000000-0000-0000-0000-000000000000");
  const std::string release = firstLineOf("/proc/sys/kernel/osrelease");
  EXPECT_EQ(host.systemVersion(), leadingVersionNumber(release));
  EXPECT_EQ(leadingVersionNumber("6.1.0-18-amd64"), "6.1.0");
  const std::string arch = firstLineOf("/proc/sys/kernel/arch");  // not in older kernels
  if (!arch.empty()) {
    EXPECT_EQ(host.machineIdentifier(), arch);
  }
  EXPECT_FALSE(host.machineIdentifier().empty());
}

// The URL goes to a stand-in xdg-open that writes its arguments into a FIFO,
// so reading the FIFO waits for exactly that, without sleeping or polling.
// No shell may see the URL: it reaches the opener whole, as one argument.
TEST(LinuxAppHostTest, HandsTheURLToXdgOpenAsOneArgument) {
  testing::TemporaryPaths scratch;
  const fs::path fifo = fs::path(scratch.root()) / "opened";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const fs::path opener = fs::path(scratch.root()) / "xdg-open";
  std::ofstream(opener) << "#!/bin/sh\nprintf '%s|%s' \"$#\" \"$1\" > '" << fifo.string() << "'\n";
  fs::permissions(opener, fs::perms::owner_all);
  testing::ScopedEnvironment path("PATH", scratch.root() + ":/usr/bin:/bin");
  const std::string url = "https://example.test/a b?q=$(false)&x='1';`y`";
  LinuxAppHost host;
  ASSERT_TRUE(host.openURL(url));
  std::ifstream in(fifo);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "1|" + url);
}

}  // namespace
}  // namespace orvanta
