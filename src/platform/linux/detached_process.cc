#include "platform/linux/detached_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>

extern char** environ;

namespace orvanta {
namespace {

// Owns the file actions of one posix_spawn call.
class SpawnFileActions {
 public:
  SpawnFileActions() { valid_ = posix_spawn_file_actions_init(&actions_) == 0; }
  ~SpawnFileActions() {
    if (valid_) posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnFileActions(const SpawnFileActions&) = delete;
  SpawnFileActions& operator=(const SpawnFileActions&) = delete;

  // The child's standard input and output go to /dev/null, so a chatty
  // program does not write into the host's output; errors still show.
  bool silenceStandardStreams() {
    return valid_ && posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0 &&
           posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0) == 0;
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
  bool valid_ = false;
};

// Waits for the child on a thread of its own so the caller never blocks and
// no zombie is left behind.
bool reapInBackground(pid_t child) {
  try {
    std::thread([child] {
      int status = 0;
      while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
      }
    }).detach();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

}  // namespace

bool startDetached(const std::string& program, const std::vector<std::string>& arguments, std::string* error) {
  SpawnFileActions actions;
  if (!actions.silenceStandardStreams()) {
    *error = "cannot prepare the child's standard streams";
    return false;
  }
  std::vector<std::string> owned;
  owned.reserve(arguments.size() + 1);
  owned.push_back(program);
  owned.insert(owned.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& argument : owned) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  // posix_spawnp reports a program that cannot be run (not on PATH, not
  // executable) as its result, unlike a bare fork and exec.
  if (const int failure = ::posix_spawnp(&child, program.c_str(), actions.get(), nullptr, argv.data(), environ)) {
    *error = program + " did not start (" + std::generic_category().message(failure) + ")";
    return false;
  }
  if (!reapInBackground(child)) *error = "no thread to reap " + program;
  return true;
}

}  // namespace orvanta
