#include "integration/cli_harness.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <httplib.h>

namespace orvanta::clitest {
namespace {

#if defined(ORVANTA_CLI_PATH) && defined(ORVANTA_DEVSERVER_PATH)
constexpr const char* kCliPath = ORVANTA_CLI_PATH;
constexpr const char* kDevServerPath = ORVANTA_DEVSERVER_PATH;
#else
constexpr const char* kCliPath = "";
constexpr const char* kDevServerPath = "";
#endif

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

int openForChild(const char* path, int flags) {
  int fd = ::open(path, flags | O_CLOEXEC, 0644);
  if (fd < 0) throw std::runtime_error(std::string("cannot open ") + path);
  return fd;
}

// "http://HOST:PORT/path" as the client's "http://HOST:PORT" and "/path".
std::pair<std::string, std::string> splitUrl(const Json& address) {
  const std::string url = address.get<std::string>();
  std::size_t path = url.find('/', url.find("://") + 3);
  if (path == std::string::npos) return {url, "/"};
  return {url.substr(0, path), url.substr(path)};
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::filesystem::path& out,
                           const std::filesystem::path& err) {
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  const int in = openForChild("/dev/null", O_RDONLY);
  const int outFd = openForChild(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
  const int errFd = openForChild(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ == 0) {
    // Only async-signal-safe calls from here to exec.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    ::dup2(in, 0);
    ::dup2(outFd, 1);
    ::dup2(errFd, 2);
    ::execv(args[0], args.data());
    ::_exit(127);
  }
  ::close(in);
  ::close(outFd);
  ::close(errFd);
  if (pid_ < 0) throw std::runtime_error("fork failed");
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : pid_(other.pid_), reaped_(other.reaped_) {
  other.reaped_ = true;
}

ChildProcess::~ChildProcess() {
  if (reaped_) return;
  ::kill(pid_, SIGKILL);
  int status = 0;
  ::waitpid(pid_, &status, 0);
}

void ChildProcess::signal(int number) {
  // Not yet reaped, so the pid cannot belong to another process.
  if (!reaped_) ::kill(pid_, number);
}

std::optional<int> ChildProcess::wait(milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    int status = 0;
    pid_t done = ::waitpid(pid_, &status, WNOHANG);
    if (done == pid_) {
      reaped_ = true;
      return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
    if (done < 0 && errno != EINTR) throw std::runtime_error("waitpid failed");
    if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
    std::this_thread::sleep_for(milliseconds(5));
  }
}

std::vector<std::string> CliRun::lines() const {
  std::vector<std::string> result;
  std::size_t start = 0;
  for (std::size_t end; (end = out.find('\n', start)) != std::string::npos; start = end + 1) {
    result.push_back(out.substr(start, end - start));
  }
  return result;
}

std::vector<std::string> CliRun::linesAfter(const std::string& prefix) const {
  std::vector<std::string> result;
  for (const std::string& line : lines()) {
    if (line.starts_with(prefix)) result.push_back(line.substr(prefix.size()));
  }
  return result;
}

Cli::Cli(std::filesystem::path home, std::vector<std::string> globalOptions)
    : home_(std::move(home)), globalOptions_(std::move(globalOptions)) {}

std::vector<std::string> Cli::argv(const std::vector<std::string>& words) const {
  std::vector<std::string> args{kCliPath, "--home", home_.string()};
  args.insert(args.end(), globalOptions_.begin(), globalOptions_.end());
  args.insert(args.end(), words.begin(), words.end());
  return args;
}

CliRun Cli::run(const std::vector<std::string>& words, seconds timeout) const {
  const std::filesystem::path out = home_.string() + ".out";
  const std::filesystem::path err = home_.string() + ".err";
  ChildProcess child(argv(words), out, err);
  std::optional<int> status = child.wait(timeout);
  if (!status) throw std::runtime_error("orvanta did not finish in time: " + readFile(err));
  return CliRun{.status = *status, .out = readFile(out), .err = readFile(err)};
}

ChildProcess Cli::start(const std::vector<std::string>& words, const std::filesystem::path& out) const {
  return ChildProcess(argv(words), out, out.string() + ".err");
}

std::vector<Json> Cli::queue() const {
  CliRun run = this->run({"queue"});
  if (run.status != 0) throw std::runtime_error("queue failed: " + run.err);
  std::vector<Json> rows;
  for (const std::string& line : run.lines()) rows.push_back(Json::parse(line));
  return rows;
}

DevServerProcess::DevServerProcess(const std::filesystem::path& folder) {
  const std::filesystem::path out = folder / "devserver.out";
  process_.emplace(std::vector<std::string>{kDevServerPath, "--port", "0", "--print-json", "--db",
                                            (folder / "received.sqlite").string()},
                   out, folder / "devserver.err");
  // The addresses come as one JSON line once both ports are bound.
  const auto deadline = std::chrono::steady_clock::now() + seconds(20);
  std::string text;
  while ((text = readFile(out)).find('\n') == std::string::npos) {
    if (process_->wait(milliseconds(0)) || std::chrono::steady_clock::now() > deadline) {
      throw std::runtime_error("orvanta-devserver did not start: " + readFile(folder / "devserver.err"));
    }
    std::this_thread::sleep_for(milliseconds(10));
  }
  addresses_ = Json::parse(text.substr(0, text.find('\n')));
}

DevServerProcess::~DevServerProcess() {
  process_->signal(SIGTERM);
  process_->wait(seconds(10));
}

std::vector<std::string> DevServerProcess::cliOptions() const {
  return {"--tracking-url", addresses_["tracking"].get<std::string>(), "--rules-url",
          addresses_["rules"].get<std::string>()};
}

void DevServerProcess::control(const Json& change) const {
  auto [base, path] = splitUrl(addresses_["control"]);
  auto answer = httplib::Client(base).Post(path, change.dump(), "application/json");
  if (!answer || answer->status != 200) {
    throw std::runtime_error("control " + change.dump() + " failed" + (answer ? ": " + answer->body : ""));
  }
}

Json DevServerProcess::messages(std::optional<int> status) const {
  auto [base, path] = splitUrl(addresses_["page"]);
  std::string query = path + "api/messages" + (status ? "?status=" + std::to_string(*status) : "");
  auto answer = httplib::Client(base).Get(query);
  if (!answer || answer->status != 200) throw std::runtime_error("GET " + query + " failed");
  return Json::parse(answer->body);
}

std::vector<Json> DevServerProcess::delivered() const {
  std::vector<Json> data;
  for (const Json& message : messages(200)) data.push_back(message.at("data"));
  return data;
}

void CliFixture::SetUp() {
  if (kCliPath[0] == '\0' || kDevServerPath[0] == '\0') GTEST_SKIP() << "built without the tools";
  server_.emplace(scratch_.root());
  std::vector<std::string> options = server_->cliOptions();
  options.insert(options.end(), {"--app-id", "cli-test", "--wait", "60"});
  cli_.emplace(std::filesystem::path(scratch_.root()) / "app", std::move(options));
}

}  // namespace orvanta::clitest
