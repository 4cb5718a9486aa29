// NetlinkReachability against a real kernel routing table: each test runs
// again inside a network namespace of its own (`unshare -rn`), where it may
// make interfaces and routes without touching the machine's. Where user and
// network namespaces or the `ip` tool are unavailable the tests are skipped.
#include "platform/linux/netlink_reachability.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>

namespace orvanta {
namespace {

constexpr const char* kInsideEnv = "ORVANTA_NETLINK_TEST_NAMESPACE";
constexpr std::uint32_t kReachable = kReachabilityFlagReachable;
constexpr std::uint32_t kCellular = kReachabilityFlagReachable | kReachabilityFlagIsWWAN;
// Settle and longest delay short enough for a test to wait on.
const NetlinkReachability::Options kQuick{std::chrono::milliseconds(20), std::chrono::milliseconds(200)};

bool insideNamespace() { return std::getenv(kInsideEnv) != nullptr; }

int shell(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()); }

// Outside the namespace: runs the current test again inside a fresh one and
// reports its output when it fails; skips when that cannot be done here.
void runInsideFreshNamespace() {
  if (shell("unshare -rn ip link add orvprobe0 type veth peer name orvprobe1") != 0) {
    GTEST_SKIP() << "user and network namespaces (unshare -rn), veth links or the ip tool are unavailable";
  }
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  const std::filesystem::path log = std::filesystem::temp_directory_path() /
                                    ("orvanta-netlink-" + std::to_string(::getpid()) + "-" + test->name() + ".log");
  const std::string command = std::string(kInsideEnv) + "=1 unshare -rn " + self.string() +
                              " --gtest_filter=" + test->test_suite_name() + "." + test->name() + " >" + log.string() +
                              " 2>&1";
  const int status = std::system(command.c_str());
  std::ifstream in(log);
  std::stringstream output;
  output << in.rdbuf();
  std::filesystem::remove(log);
  EXPECT_EQ(status, 0) << output.str();
}

// Counts callbacks and lets the test wait (bounded) for a state to arrive.
class Watcher {
 public:
  explicit Watcher(NetlinkReachability& source) : source_(source) {}

  ReachabilitySource::ChangeCallback callback() {
    return [this] {
      std::lock_guard lock(mutex_);
      ++calls_;
      changed_.notify_all();
    };
  }
  // Waits until a callback has left the flags at expected.
  bool waitForFlags(std::uint32_t expected) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return source_.flags() == expected; });
  }
  int calls() {
    std::lock_guard lock(mutex_);
    return calls_;
  }

 private:
  NetlinkReachability& source_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int calls_ = 0;
};

// One veth pair, both ends up, the first with an IPv4 address in net.
void addLink(const std::string& name, const std::string& peer, const std::string& address) {
  ASSERT_EQ(shell("ip link add " + name + " type veth peer name " + peer), 0);
  ASSERT_EQ(shell("ip link set " + name + " up && ip link set " + peer + " up"), 0);
  ASSERT_EQ(shell("ip addr add " + address + " dev " + name), 0);
}

TEST(NetlinkReachabilityTest, FollowsDefaultRoutesAndTheirInterfaces) {
  if (!insideNamespace()) return runInsideFreshNamespace();
  NetlinkReachability source(kQuick);
  EXPECT_EQ(source.flags(), 0u) << "a fresh namespace has no default route";
  Watcher watcher(source);
  ASSERT_TRUE(source.start(watcher.callback()));

  addLink("orv0", "orv1", "10.9.0.1/24");
  ASSERT_EQ(shell("ip route add default via 10.9.0.2 dev orv0"), 0);
  EXPECT_TRUE(watcher.waitForFlags(kReachable));

  ASSERT_EQ(shell("ip route del default"), 0);
  EXPECT_TRUE(watcher.waitForFlags(0));

  // IPv6 alone is enough.
  ASSERT_EQ(shell("ip -6 addr add 2001:db8::1/64 dev orv0 nodad"), 0);
  ASSERT_EQ(shell("ip -6 route add default via 2001:db8::2 dev orv0"), 0);
  EXPECT_TRUE(watcher.waitForFlags(kReachable));

  // The route stays, but its interface loses carrier when the peer goes down.
  ASSERT_EQ(shell("ip link set orv1 down"), 0);
  EXPECT_TRUE(watcher.waitForFlags(0));
  ASSERT_EQ(shell("ip link set orv1 up"), 0);
  EXPECT_TRUE(watcher.waitForFlags(kReachable));

  // The route's own interface goes down: the kernel drops its routes with
  // no route event of their own.
  ASSERT_EQ(shell("ip link set orv0 down"), 0);
  EXPECT_TRUE(watcher.waitForFlags(0));

  EXPECT_EQ(watcher.calls(), 6) << "one callback per change";

  // Cellular only while every default route of the main table is.
  addLink("wwan0", "orv2", "10.8.0.1/24");
  ASSERT_EQ(shell("ip route add default via 10.8.0.2 dev wwan0"), 0);
  EXPECT_TRUE(watcher.waitForFlags(kCellular));
  ASSERT_EQ(shell("ip link set orv0 up && ip route add default via 10.9.0.2 dev orv0 metric 100"), 0);
  EXPECT_TRUE(watcher.waitForFlags(kReachable));
  ASSERT_EQ(shell("ip route del default dev orv0 && ip route add default via 10.9.0.2 dev orv0 table 100"), 0);
  EXPECT_TRUE(watcher.waitForFlags(kCellular));

  const int callsBefore = watcher.calls();
  source.stop();
  // Stopped, the flags are read on demand.
  ASSERT_EQ(shell("ip route add default via 10.9.0.2 dev orv0 metric 100"), 0);
  EXPECT_EQ(source.flags(), kReachable);
  EXPECT_EQ(watcher.calls(), callsBefore);
}

}  // namespace
}  // namespace orvanta
