// orvanta: the host simulator. Drives the library the way an app does; see
// README.md beside this file.
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/host.h"
#include "cli/usage_error.h"

namespace orvanta::cli {
namespace {

constexpr int kQueueLeft = 1;
constexpr int kCommandFailed = 1;
constexpr int kUsage = 2;
// Far beyond the 0.5 s of the library's longest notification delay.
constexpr auto kDelayedWorkLimit = std::chrono::seconds(60);

// What main needs once the words are read: the command and its action.
struct Invocation {
  CommandLine line;
  const Command* command = nullptr;
  Action action;
};

Invocation read(const std::vector<std::string>& args) {
  Invocation invocation;
  invocation.line = parseCommandLine(args);
  if (invocation.line.help) return invocation;
  invocation.command = findCommand(invocation.line.command);
  if (invocation.command == nullptr) throw UsageError("unknown command " + invocation.line.command);
  Arguments words(invocation.line.words);
  invocation.action = invocation.command->parse(words);
  words.finish();
  return invocation;
}

std::string describe(const QueueState& state) {
  std::string text = state.queued ? std::to_string(*state.queued) + " still queued" : "queue not readable";
  if (state.inFlight != 0) text += ", " + std::to_string(state.inFlight) + " in flight";
  return text;
}

// One launch: start-up, the action, then the wait for the offline queue.
int run(const Invocation& invocation) {
  const GlobalOptions& options = invocation.line.options;
  auto output = std::make_shared<Output>(!options.quiet);
  auto host = std::make_unique<Host>(options, output);
  if (!invocation.command->launches) {
    invocation.action(*host);
    return 0;
  }

  if (invocation.command->beforeStartUp) invocation.action(*host);
  host->launch();
  if (!invocation.command->beforeStartUp) invocation.action(*host);
  auto deadline = std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                      std::chrono::duration<double>(options.waitSeconds));
  // What the command set off on the main queue (a popup, a delayed opening)
  // first, as it may send messages of its own; --wait does not cut it short.
  host->waitForMainQueueWork(std::chrono::steady_clock::now() + kDelayedWorkLimit);
  host->waitForDelayedWork(std::chrono::steady_clock::now() + kDelayedWorkLimit);
  host->waitForCompletions(deadline);
  const QueueState state = host->waitUntilSettled(deadline);
  // The app closes before the last line, so that what closing prints (the
  // requests still in flight failing into the queue) comes before it.
  host.reset();
  if (state.settled()) {
    output->line("queue empty");
    return 0;
  }
  output->line("wait over: " + describe(state));
  return kQueueLeft;
}

}  // namespace
}  // namespace orvanta::cli

int main(int argc, char** argv) {
  using namespace orvanta::cli;
  Invocation invocation;
  try {
    invocation = read(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const UsageError& error) {
    std::cerr << "orvanta: " << error.what() << "\n\n" << usageText();
    return kUsage;
  }
  if (invocation.line.help) {
    std::cout << usageText();
    return 0;
  }
  try {
    return run(invocation);
  } catch (const CommandFailed& error) {
    std::cerr << "orvanta: " << error.what() << "\n";
    return kCommandFailed;
  }
}
