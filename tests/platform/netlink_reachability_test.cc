// NetlinkReachability against a real kernel routing table: the test runs
// again inside a network namespace of its own (`unshare -rn`), where it may
// make interfaces and routes without touching the machine's. Where user and
// network namespaces or the `ip` tool are unavailable it is skipped.
#include "platform/linux/netlink_reachability.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <utility>

namespace orvanta {
namespace {

constexpr const char* kInsideEnv = "ORVANTA_NETLINK_TEST_NAMESPACE";
constexpr std::uint32_t kReachable = kReachabilityFlagReachable;
constexpr std::uint32_t kCellular = kReachabilityFlagReachable | kReachabilityFlagIsWWAN;

int shell(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str());
}

// Outside the namespace: runs the current test again inside a fresh one,
// its output going to this one's; skips when that cannot be done here.
void runInsideFreshNamespace() {
  if (shell("unshare -rn ip link add orvprobe0 type veth peer name orvprobe1") != 0) {
    GTEST_SKIP() << "user and network namespaces (unshare -rn), veth links or ip are unavailable";
  }
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::string command = std::string(kInsideEnv) + "=1 unshare -rn " +
                              std::filesystem::read_symlink("/proc/self/exe").string() +
                              " --gtest_filter=" + test->test_suite_name() + "." + test->name();
  EXPECT_EQ(std::system(command.c_str()), 0);
}

// One veth pair, both ends up, the first with an IPv4 address.
std::string link(const std::string& name, const std::string& peer, const std::string& address) {
  return "ip link add " + name + " type veth peer name " + peer + " && ip link set " + name +
         " up && ip link set " + peer + " up && ip addr add " + address + " dev " + name;
}

TEST(NetlinkReachabilityTest, FollowsDefaultRoutesAndTheirInterfaces) {
  if (std::getenv(kInsideEnv) == nullptr) return runInsideFreshNamespace();
  // Callbacks are counted, and the test waits (bounded) for the flags a step should leave.
  std::mutex mutex;
  std::condition_variable changed;
  int calls = 0;
  // Settle and longest delay short enough for a test to wait on.
  NetlinkReachability source({std::chrono::milliseconds(20), std::chrono::milliseconds(200)});
  ASSERT_TRUE(source.start([&] {
    std::lock_guard lock(mutex);
    ++calls;
    changed.notify_all();
  }));
  const auto waitForFlags = [&](std::uint32_t expected) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(20),
                            [&] { return source.flags() == expected; });
  };

  // Each step and the flags it leaves. IPv6 alone is enough. A default route
  // stays while its interface loses carrier (the peer goes down) or is set
  // down itself, which drops its routes with no route event of their own.
  // Cellular only while every default route of the main table is.
  const std::pair<std::string, std::uint32_t> steps[] = {
      {link("orv0", "orv1", "10.9.0.1/24"), 0},
      {"ip route add default via 10.9.0.2 dev orv0", kReachable},
      {"ip route del default", 0},
      {"ip -6 addr add 2001:db8::1/64 dev orv0 nodad", 0},
      {"ip -6 route add default via 2001:db8::2 dev orv0", kReachable},
      {"ip link set orv1 down", 0},
      {"ip link set orv1 up", kReachable},
      {"ip link set orv0 down", 0},
      {link("wwan0", "orv2", "10.8.0.1/24"), 0},
      {"ip route add default via 10.8.0.2 dev wwan0", kCellular},
      {"ip link set orv0 up && ip route add default via 10.9.0.2 dev orv0 metric 100", kReachable},
      // Routes in other tables do not count.
      {"ip route del default dev orv0 && ip route add default via 10.9.0.2 dev orv0 table 100",
       kCellular},
      // A route of several next hops counts each hop that is alive.
      {"ip route replace default nexthop via 10.9.0.2 dev orv0 nexthop via 10.8.0.2 dev wwan0",
       kReachable},
      {"ip link set orv0 down", kCellular},
  };
  int changes = 0;
  std::uint32_t last = 0;
  for (const auto& [command, flags] : steps) {
    ASSERT_EQ(shell(command), 0) << command;
    EXPECT_TRUE(waitForFlags(flags)) << command;
    changes += flags != std::exchange(last, flags);
  }
  source.stop();
  EXPECT_EQ(calls, changes) << "one callback per change";
}

}  // namespace
}  // namespace orvanta
