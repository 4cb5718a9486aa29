// Runs the real orvanta (host simulator) and orvanta-devserver programs for
// the process-level tests. Their paths come from the build; without the tools
// (ORVANTA_BUILD_TOOLS=OFF) these tests skip.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orvanta/json.h"
#include "orvanta/testing/temporary_paths.h"

namespace orvanta::clitest {

using std::chrono::milliseconds;
using std::chrono::seconds;

#ifndef ORVANTA_CLI_PATH  // built without the tools
#define ORVANTA_CLI_PATH ""
#define ORVANTA_DEVSERVER_PATH ""
#endif

inline std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// One child process; its standard output and error go to the files given.
// A child still running when the object goes is killed and reaped, and every
// child dies with the test process.
class ChildProcess {
 public:
  ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& out,
               const std::filesystem::path& err) {
    std::vector<char*> args;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    const int fds[] = {::open("/dev/null", O_RDONLY | O_CLOEXEC),
                       ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644),
                       ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)};
    const pid_t parent = ::getpid();
    pid_ = std::ranges::count(fds, -1) == 0 ? ::fork() : -1;
    if (pid_ == 0) {
      // Only async-signal-safe calls from here to exec.
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (::getppid() != parent) ::_exit(127);
      for (int i = 0; i < 3; ++i) ::dup2(fds[i], i);
      ::execv(args[0], args.data());
      ::_exit(127);
    }
    for (int fd : fds) ::close(fd);
    if (pid_ < 0) throw std::runtime_error("cannot start " + argv[0]);
  }
  ~ChildProcess() {
    if (reaped_) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &status_, 0);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void signal(int number) {
    if (!reaped_) ::kill(pid_, number);  // not reaped: the pid cannot be another process's
  }
  // The exit status, or 128 + the signal that ended it; nullopt when it is
  // still running after timeout.
  std::optional<int> wait(milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!reaped_) {
      const pid_t done = ::waitpid(pid_, &status_, WNOHANG);
      if (done < 0 && errno != EINTR) throw std::runtime_error("waitpid failed");
      reaped_ = done == pid_;
      if (!reaped_ && std::chrono::steady_clock::now() >= deadline) return std::nullopt;
      if (!reaped_) std::this_thread::sleep_for(milliseconds(5));
    }
    return WIFSIGNALED(status_) ? 128 + WTERMSIG(status_) : WEXITSTATUS(status_);
  }

 private:
  pid_t pid_;
  int status_ = 0;
  bool reaped_ = false;
};

// What one finished run of the CLI printed.
struct CliRun {
  int status = -1;
  std::string out;
  std::string err;

  // Standard output's whole lines (a last line without its line feed is left out).
  std::vector<std::string> lines() const {
    std::vector<std::string> result;
    for (std::size_t start = 0, end; (end = out.find('\n', start)) != std::string::npos;
         start = end + 1) {
      result.push_back(out.substr(start, end - start));
    }
    return result;
  }
};

// A fresh app home for the orvanta program and a fresh orvanta-devserver on
// free loopback ports per test; skips without the tools.
class CliFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(ORVANTA_CLI_PATH).empty()) GTEST_SKIP() << "built without the tools";
    const std::filesystem::path folder = scratch_.root();
    std::vector<std::string> serverArgv{ORVANTA_DEVSERVER_PATH, "--port",    "0",
                                        "--print-json",         "--db",      (folder / "received.sqlite").string(),
                                        "--rules-dir",          rulesDir().string()};
    for (const std::string& option : serverOptions()) serverArgv.push_back(option);
    std::filesystem::create_directories(rulesDir());
    server_.emplace(serverArgv, folder / "devserver.out", folder / "devserver.err");
    // The addresses come as one JSON line once both ports are bound.
    const auto deadline = std::chrono::steady_clock::now() + seconds(20);
    std::string text;
    while ((text = readFile(folder / "devserver.out")).find('\n') == std::string::npos) {
      ASSERT_FALSE(server_->wait(milliseconds(0)) || std::chrono::steady_clock::now() > deadline)
          << "orvanta-devserver did not start: " << readFile(folder / "devserver.err");
      std::this_thread::sleep_for(milliseconds(10));
    }
    addresses_ = Json::parse(text.substr(0, text.find('\n')));
  }

  std::filesystem::path home() const { return std::filesystem::path(scratch_.root()) / "app"; }
  // Where the server finds the rules document "<appid>.json" of each app.
  std::filesystem::path rulesDir() const { return std::filesystem::path(scratch_.root()) / "rules"; }
  // The rules server's base URL, as the program is given it.
  std::string rulesUrl() const { return addresses_["rules"].get<std::string>(); }
  // More options for the server, for a fixture to add.
  virtual std::vector<std::string> serverOptions() const { return {}; }

  // Runs one invocation of orvanta to its end; throws when it outlives timeout.
  CliRun run(const std::vector<std::string>& words, seconds timeout = seconds(120)) const {
    const std::string out = home().string() + ".out";
    ChildProcess child(argv(words), out, out + ".err");
    const std::optional<int> status = child.wait(timeout);
    if (!status)
      throw std::runtime_error("orvanta did not finish in time: " + readFile(out + ".err"));
    return CliRun{.status = *status, .out = readFile(out), .err = readFile(out + ".err")};
  }
  // The offline queue as `queue` prints it: one object per row, oldest first.
  std::vector<Json> queue() const {
    const CliRun listing = run({"queue"});
    if (listing.status != 0) throw std::runtime_error("queue failed: " + listing.err);
    std::vector<Json> rows;
    for (const std::string& line : listing.lines()) rows.push_back(Json::parse(line));
    return rows;
  }

  // Posts a change of fault modes to the server's control API, e.g.
  // {"fail":{"status":500}}, {"down":true}, {"clear":true}.
  void control(const Json& change) const { call("control", "", change); }
  // Every tracking POST the server received, oldest first: objects with
  // method, status, body, data, ...; query may filter them ("?status=200").
  Json messages(const std::string& query = "") const {
    return call("page", "api/messages" + query);
  }
  // The command line of one invocation of orvanta.
  std::vector<std::string> argv(const std::vector<std::string>& words) const {
    std::vector<std::string> args{
        ORVANTA_CLI_PATH, "--home", home().string(), "--app-id", "cli-test", "--wait", "60"};
    args.insert(args.end(), {"--tracking-url", addresses_["tracking"].get<std::string>(),
                             "--rules-url", addresses_["rules"].get<std::string>()});
    args.insert(args.end(), words.begin(), words.end());
    return args;
  }

 private:
  // GETs, or with a document POSTs, the server's address key (a URL) plus
  // more; answers the JSON it got and throws unless it was answered 200.
  Json call(const std::string& key, const std::string& more,
            const std::optional<Json>& document = std::nullopt) const {
    const std::string url = addresses_[key].get<std::string>();
    const std::size_t path = url.find('/', std::string_view("http://").size());
    httplib::Client client(url.substr(0, path));
    const std::string target = url.substr(path) + more;
    auto answer =
        document ? client.Post(target, document->dump(), "application/json") : client.Get(target);
    if (!answer || answer->status != 200) throw std::runtime_error(url + more + " failed");
    return Json::parse(answer->body);
  }

  testing::TemporaryPaths scratch_;
  std::optional<ChildProcess> server_;
  Json addresses_;  // tracking, rules, control and page URLs
};

}  // namespace orvanta::clitest
