#pragma once

#include <string>
#include <vector>

#include "devserver/dev_server.h"

namespace orvanta::devserver {

struct CommandLine {
  DevServerOptions options;  // db_path stays empty unless --db was given
  bool print_json = false;   // print the addresses as one JSON line
  bool help = false;
};

// Reads the arguments after the program name:
//   --port N  --control-port N  --db PATH  --rules-dir DIR  --rules-delay-ms D  --print-json  --help
//   --fail-status S  --fail-count N  --fail-method M   one fail rule (status 500 by default);
//                                                      --fail-status alone fails every POST
//   --reset-count N  --stall-ms D
// Throws std::invalid_argument naming the argument it cannot use.
CommandLine parseCommandLine(const std::vector<std::string>& args);

// The text --help prints.
const char* usageText();

}  // namespace orvanta::devserver
