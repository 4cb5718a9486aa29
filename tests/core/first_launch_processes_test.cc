// Two processes that start at once on one app home (the app and its
// notification extension on a new installation) agree on one device
// identifier and send one first-launch event between them. The stores are the
// real Linux ones; the processes are forked children steered through pipes.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "base/logger.h"
#include "core/client_identity.h"
#include "core/comman_methods.h"
#include "core/data_model.h"
#include "device/keychain_item_wrapper.h"
#include "orvanta/testing/in_memory_settings_store.h"
#include "orvanta/testing/temporary_paths.h"
#include "platform/linux/file_secure_store.h"
#include "platform/linux/file_settings_store.h"

namespace orvanta {
namespace {

constexpr const char* kKeychainItem = "io.orvanta.tests-OrvantaPush";

// What one start decided.
struct Launch {
  std::array<char, 64> pushId{};
  std::int64_t event = 0;
};

// The client state one process builds on the home, as a start-up does.
class Client {
 public:
  explicit Client(const std::string& home)
      : settings_(home + "/Preferences/io.orvanta.tests.json"),
        secure_(home + "/Keychain"),
        logger_("Orvanta"),
        methods_(settings_, appGroup_, model_, logger_, [this](std::int64_t id) { event_ = id; }),
        identity_(model_, methods_, settings_, secure_, kKeychainItem) {}

  FileSettingsStore& settings() { return settings_; }

  Launch launch() {
    Launch launch;
    const std::string id = identity_.getPushID();
    std::strncpy(launch.pushId.data(), id.c_str(), launch.pushId.size() - 1);
    methods_.launchEvent();
    launch.event = event_;
    return launch;
  }

 private:
  FileSettingsStore settings_;
  testing::InMemorySettingsStore appGroup_;
  FileSecureStore secure_;
  Logger logger_;
  OrvantaDataModel model_;
  std::int64_t event_ = 0;
  OrvantaCommanMethods methods_;
  ClientIdentity identity_;
};

// Signals between the test and a child, one byte each.
constexpr char kReady = 'R';    // child: its stores are loaded
constexpr char kGo = 'G';       // test: go on to the next step
constexpr char kLocked = 'L';   // child: it holds the settings' lock
constexpr char kStarting = 'S'; // child: it is about to start

void writeAll(int fd, const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = TEMP_FAILURE_RETRY(::write(fd, bytes, size));
    if (n <= 0) ::_exit(3);
    bytes += n;
    size -= static_cast<std::size_t>(n);
  }
}

// A forked process running one start-up on home.
class ChildProcess {
 public:
  // holdLockFirst: the child takes the settings' lock, says so and waits for
  // a go before it starts inside it, so that the other child starts while
  // this one is half-way.
  ChildProcess(const std::string& home, bool holdLockFirst) {
    int down[2];
    int up[2];
    if (::pipe(down) != 0 || ::pipe(up) != 0) ADD_FAILURE() << "pipe";
    pid_ = ::fork();
    if (pid_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // never outlive a crashed test
      ::close(down[1]);
      ::close(up[0]);
      run(home, holdLockFirst, down[0], up[1]);
    }
    ::close(down[0]);
    ::close(up[1]);
    toChild_ = down[1];
    fromChild_ = up[0];
  }
  ~ChildProcess() {
    ::close(toChild_);
    ::close(fromChild_);
    if (pid_ > 0 && !reaped_) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
  }

  void go() { writeAll(toChild_, &kGo, 1); }
  // The next signal of the child; 0 when none came (it died, or hangs).
  char signal() {
    char c = 0;
    return receive(&c, 1) ? c : 0;
  }
  Launch result() {
    Launch launch;
    if (!receive(&launch, sizeof launch)) ADD_FAILURE() << "the child sent no result";
    return launch;
  }
  int exitStatus() {
    int status = 0;
    ::waitpid(pid_, &status, 0);
    reaped_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  [[noreturn]] static void run(const std::string& home, bool holdLockFirst, int in, int out) {
    const auto awaitGo = [in] {
      char c = 0;
      if (TEMP_FAILURE_RETRY(::read(in, &c, 1)) != 1 || c != kGo) ::_exit(2);
    };
    Launch launch;
    {
      Client client(home);
      writeAll(out, &kReady, 1);
      awaitGo();
      if (holdLockFirst) {
        client.settings().withLock([&] {
          writeAll(out, &kLocked, 1);
          awaitGo();
          launch = client.launch();
        });
      } else {
        writeAll(out, &kStarting, 1);
        launch = client.launch();
      }
    }
    writeAll(out, &launch, sizeof launch);
    ::_exit(0);
  }

  // Reads size bytes; false when the child closed its end or stayed silent
  // for a minute (a guard against a hang, far above any real step).
  bool receive(void* data, std::size_t size) {
    auto* bytes = static_cast<char*>(data);
    while (size > 0) {
      pollfd ready{fromChild_, POLLIN, 0};
      if (TEMP_FAILURE_RETRY(::poll(&ready, 1, 60'000)) != 1) return false;
      const ssize_t n = TEMP_FAILURE_RETRY(::read(fromChild_, bytes, size));
      if (n <= 0) return false;
      bytes += n;
      size -= static_cast<std::size_t>(n);
    }
    return true;
  }

  pid_t pid_ = -1;
  int toChild_ = -1;
  int fromChild_ = -1;
  bool reaped_ = false;
};

TEST(FirstLaunchProcessesTest, TwoProcessesStartingAtOnceMakeOneIdentifierAndOneFirstLaunchEvent) {
  testing::TemporaryPaths paths;
  const std::string home = paths.root() + "/home";
  // A previous installation left its identifier in the secure store, which
  // outlives the app; this installation's first start must replace it.
  {
    FileSecureStore secure(home + "/Keychain");
    KeychainItemWrapper(secure, kKeychainItem, std::nullopt)
        .setObject(Value(Bytes{'O', 'L', 'D'}), kSecAttrAccount);
  }

  // Both load the empty settings before either decides anything.
  ChildProcess first(home, /*holdLockFirst=*/true);
  ChildProcess second(home, /*holdLockFirst=*/false);
  ASSERT_EQ(first.signal(), kReady);
  ASSERT_EQ(second.signal(), kReady);
  first.go();
  ASSERT_EQ(first.signal(), kLocked);
  second.go();
  ASSERT_EQ(second.signal(), kStarting);
  first.go();
  const Launch launches[] = {first.result(), second.result()};
  EXPECT_EQ(first.exitStatus(), 0);
  EXPECT_EQ(second.exitStatus(), 0);

  const std::string id = launches[0].pushId.data();
  EXPECT_EQ(id.size(), 36u) << id;
  EXPECT_EQ(std::string(launches[1].pushId.data()), id);
  std::vector<std::int64_t> events = {launches[0].event, launches[1].event};
  std::sort(events.begin(), events.end());
  EXPECT_EQ(events, (std::vector<std::int64_t>{20, 21}));

  // And the next start, later, agrees with both.
  const Launch next = Client(home).launch();
  EXPECT_EQ(std::string(next.pushId.data()), id);
  EXPECT_EQ(next.event, 21);
}

}  // namespace
}  // namespace orvanta
