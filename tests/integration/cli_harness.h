// Runs the real orvanta (host simulator) and orvanta-devserver programs for
// the process-level tests. Their paths come from the build; without the tools
// (ORVANTA_BUILD_TOOLS=OFF) these tests skip.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "orvanta/json.h"
#include "platform/testing/temporary_paths.h"

namespace orvanta::clitest {

using std::chrono::milliseconds;
using std::chrono::seconds;

// One child process; its standard output and error go to the files given.
// A child still running when the object goes is killed and reaped, and every
// child dies with the test process.
class ChildProcess {
 public:
  ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& out,
               const std::filesystem::path& err);
  ~ChildProcess();
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;

  void signal(int number);
  // The exit status, or 128 + the signal that ended it; nullopt when it is
  // still running after timeout.
  std::optional<int> wait(milliseconds timeout);

 private:
  pid_t pid_;
  bool reaped_ = false;
};

// What one finished run of the CLI printed.
struct CliRun {
  int status = -1;
  std::string out;
  std::string err;
  // Standard output's whole lines (a last line without its line feed is left out).
  std::vector<std::string> lines() const;
  // The lines that begin with prefix, with the prefix taken off.
  std::vector<std::string> linesAfter(const std::string& prefix) const;
};

// The orvanta program for one app: its home folder and the global options
// every invocation gets.
class Cli {
 public:
  Cli(std::filesystem::path home, std::vector<std::string> globalOptions);

  // Runs one invocation to its end; throws when it outlives timeout.
  CliRun run(const std::vector<std::string>& words, seconds timeout = seconds(120)) const;
  // Starts one invocation and leaves it running; its output goes to out.
  ChildProcess start(const std::vector<std::string>& words, const std::filesystem::path& out) const;
  // The offline queue as `queue` prints it: one object per row, oldest first.
  std::vector<Json> queue() const;

  const std::filesystem::path& home() const { return home_; }

 private:
  std::vector<std::string> argv(const std::vector<std::string>& words) const;

  std::filesystem::path home_;
  std::vector<std::string> globalOptions_;
};

// orvanta-devserver on free loopback ports, stopped when the object goes.
class DevServerProcess {
 public:
  explicit DevServerProcess(const std::filesystem::path& folder);
  ~DevServerProcess();
  DevServerProcess(const DevServerProcess&) = delete;
  DevServerProcess& operator=(const DevServerProcess&) = delete;

  // The global options that point the CLI at this server.
  std::vector<std::string> cliOptions() const;
  // Posts a change of fault modes to the control API, e.g.
  // {"fail":{"status":500}}, {"down":true}, {"clear":true}.
  void control(const Json& change) const;
  // Every tracking POST received, oldest first (only those answered status
  // when given): objects with method, status, body, data, ...
  Json messages(std::optional<int> status = std::nullopt) const;
  // The "data" objects of the messages answered 200, oldest first.
  std::vector<Json> delivered() const;

 private:
  std::optional<ChildProcess> process_;
  Json addresses_;  // tracking, rules, control and page URLs
};

// A fresh app home and a fresh server per test; skips without the tools.
class CliFixture : public ::testing::Test {
 protected:
  void SetUp() override;

  DevServerProcess& server() { return *server_; }
  Cli& cli() { return *cli_; }

 private:
  testing::TemporaryPaths scratch_;
  std::optional<DevServerProcess> server_;
  std::optional<Cli> cli_;
};

}  // namespace orvanta::clitest
