#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "cli/arguments.h"

namespace orvanta::cli {

class Host;

// What a command does once its words are read.
using Action = std::function<void(Host& host)>;

// One entry of the command table.
struct Command {
  std::string_view name;
  std::string_view synopsis;  // its words, for the usage text
  std::string_view summary;
  // Whether the app's start-up runs before the action and the program waits
  // for the offline queue after it. The inspection commands only look: they
  // send nothing and change nothing.
  bool launches;
  // Reads the command's words, before anything else happens, and answers the
  // action. Throws UsageError.
  Action (*parse)(Arguments& words);
  // Whether the action runs before the app's start-up instead of after it
  // (it prepares the launch, as the launch options do).
  bool beforeStartUp = false;
};

// Every command, in the order the usage text lists them.
const std::vector<Command>& commands();
// The command named `name`, or nullptr.
const Command* findCommand(std::string_view name);

}  // namespace orvanta::cli
