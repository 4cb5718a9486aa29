// The settings file survives a kill during a write: a process that keeps
// writing large settings is killed at random instants, and every time the file
// must hold one whole state that process wrote, never a torn mix, and at least
// the last state whose synchronize() had answered true.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "orvanta/json.h"
#include "platform/linux/file_settings_store.h"
#include "orvanta/testing/temporary_paths.h"

namespace orvanta {
namespace {

constexpr int kKills = 30;

// 16 to 48 KiB, different in length and content for every n, so that a write
// spans several pages and a mix of two states is visible. (Larger states make
// no file-level difference and slow the sanitizer builds down.)
std::string blobFor(std::int64_t n) {
  const std::size_t size = 16 * 1024 + static_cast<std::size_t>(n * 7919 % (32 * 1024));
  const std::string stamp = "<" + std::to_string(n) + ">";
  std::string blob;
  while (blob.size() < size) blob += stamp;
  blob.resize(size);
  return blob;
}

Value stateFor(std::int64_t n) { return Map{{"n", n}, {"blob", blobFor(n)}}; }

// The child: continues the sequence from what the file holds, writing one to
// three states between synchronize() calls and reporting each n that
// synchronize() confirmed. Runs until killed.
[[noreturn]] void writeForever(const std::string& path, int reportFd) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // never outlive a crashed test
  FileSettingsStore store(path);
  std::int64_t n = 0;
  if (std::optional<Value> state = store.get("state")) n = *state->asMap()->find("n")->asInteger();
  for (int round = 0; round < 100000; ++round) {
    for (int i = 0; i <= round % 3; ++i) store.set("state", stateFor(++n));
    if (store.synchronize() && ::write(reportFd, &n, sizeof n) != static_cast<ssize_t>(sizeof n)) {
      break;
    }
  }
  ::_exit(0);
}

// Reads one report; false at end of stream.
bool readReport(int fd, std::int64_t* n) {
  return TEMP_FAILURE_RETRY(::read(fd, n, sizeof *n)) == static_cast<ssize_t>(sizeof *n);
}

// Takes reports from fd until timeout passes, keeping the latest in *durable.
void followReportsFor(int fd, std::chrono::milliseconds timeout, std::int64_t* durable) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (pollfd ready{fd, POLLIN, 0};;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0) return;
    if (!readReport(fd, durable)) return;
  }
}

// Whether a temporary file is being written: the file's own or its last good copy's.
bool writeInProgress(const std::string& path) {
  return std::filesystem::exists(path + ".tmp") || std::filesystem::exists(path + ".last-good.tmp");
}

// Takes reports from fd until a write is in progress (or a few seconds have
// passed), so that the kill that follows lands inside it.
void awaitWriteInProgress(const std::string& path, int fd, std::int64_t* durable) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!writeInProgress(path) && std::chrono::steady_clock::now() < deadline) {
    for (pollfd ready{fd, POLLIN, 0}; ::poll(&ready, 1, 0) > 0 && readReport(fd, durable);) {
    }
  }
}

// n of the whole state the file holds, or a failure naming what is wrong.
::testing::AssertionResult holdsAWholeState(const std::string& path, std::int64_t* n) {
  std::ifstream file(path, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(file), {});
  const Json json = Json::parse(text, nullptr, false);
  const Value settings = json.is_object() ? fromTaggedJson(json) : Value();
  const Value* state = settings.asMap() ? settings.asMap()->find("state") : nullptr;
  const Value* number = state && state->asMap() ? state->asMap()->find("n") : nullptr;
  *n = number && number->isInteger() ? *number->asInteger() : 0;  // no state 0 is ever written
  if (settings == Value(Map{{"state", stateFor(*n)}})) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "not one whole state (" << text.size() << " bytes, n " << *n << ")";
}

TEST(SettingsFileCrashTest, KillDuringWriteLeavesOldOrNewContentNeverTorn) {
  testing::TemporaryPaths paths;
  const std::string path = paths.root() + "/suite.json";
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<int> pause(0, 12);

  std::int64_t durable = 0;
  int interrupted = 0;  // kills that landed while a temporary file was being written
  for (int kill = 0; kill < kKills; ++kill) {
    SCOPED_TRACE("kill " + std::to_string(kill));
    int reports[2];
    ASSERT_EQ(::pipe(reports), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(reports[0]);
      writeForever(path, reports[1]);
    }
    ::close(reports[1]);

    // Let the child make at least one state durable, then run on: every
    // other kill is aimed at a write in progress, the rest fall at random.
    EXPECT_TRUE(readReport(reports[0], &durable));
    if (kill % 2 == 0) {
      awaitWriteInProgress(path, reports[0], &durable);
    } else {
      followReportsFor(reports[0], std::chrono::milliseconds(pause(random)), &durable);
    }
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself, status " << status;
    followReportsFor(reports[0], std::chrono::seconds(30), &durable);  // to the end of stream
    ::close(reports[0]);
    if (writeInProgress(path)) ++interrupted;

    std::int64_t n = 0;
    ASSERT_TRUE(holdsAWholeState(path, &n));
    EXPECT_GE(n, durable) << "a state confirmed by synchronize() was lost";
  }
  // No child ever found a file it had to set aside.
  EXPECT_FALSE(std::filesystem::exists(path + ".corrupt"));
  EXPECT_GE(durable, kKills);  // every child made some state durable
  // Otherwise every kill fell between writes and nothing was proven.
  EXPECT_GT(interrupted, 0);
}

}  // namespace
}  // namespace orvanta
