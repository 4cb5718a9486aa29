#include "devserver/command_line.h"

#include <charconv>
#include <limits>
#include <stdexcept>

namespace orvanta::devserver {
namespace {

int number(const std::string& flag, const std::string& text, int low, int high) {
  int value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value < low || value > high) {
    throw std::invalid_argument(flag + " needs a number from " + std::to_string(low) + " to " +
                                std::to_string(high) + ", not \"" + text + "\"");
  }
  return value;
}

}  // namespace

const char* usageText() {
  return "usage: orvanta-devserver [options]\n"
         "  --port N            site port (tracking, rules, page); 0 = any free port (default)\n"
         "  --control-port N    control API port; 0 = any free port (default)\n"
         "  --db PATH           message store file (default: in a new temporary folder)\n"
         "  --rules-dir DIR     folder of rule documents <appid>.json\n"
         "  --rules-delay-ms D  hold each rule document found D milliseconds\n"
         "  --fail-status S     answer S instead of 200 (default 500 when failing)\n"
         "  --fail-count N      ... for the next N tracking requests only\n"
         "  --fail-method M     ... for requests to method M only\n"
         "  --reset-count N     reset the connection of the next N tracking requests\n"
         "  --stall-ms D        delay every tracking request by D milliseconds\n"
         "  --print-json        print the addresses as one JSON line on start\n";
}

CommandLine parseCommandLine(const std::vector<std::string>& args) {
  constexpr int kMax = std::numeric_limits<int>::max();
  CommandLine line;
  FaultRule fail{.status = 500};
  bool failing = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& flag = args[i];
    if (flag == "--print-json") {
      line.print_json = true;
      continue;
    }
    if (flag == "--help" || flag == "-h") {
      line.help = true;
      continue;
    }
    if (i + 1 == args.size()) throw std::invalid_argument("unknown argument or missing value: " + flag);
    const std::string& value = args[++i];
    if (flag == "--port") {
      line.options.port = number(flag, value, 0, 65535);
    } else if (flag == "--control-port") {
      line.options.control_port = number(flag, value, 0, 65535);
    } else if (flag == "--db") {
      line.options.db_path = value;
    } else if (flag == "--rules-dir") {
      line.options.rules_dir = value;
    } else if (flag == "--rules-delay-ms") {
      line.options.rules_delay = std::chrono::milliseconds(number(flag, value, 0, kMax));
    } else if (flag == "--fail-status") {
      fail.status = number(flag, value, 201, 599);
      failing = true;
    } else if (flag == "--fail-count") {
      fail.count = number(flag, value, 1, kMax);
      failing = true;
    } else if (flag == "--fail-method") {
      fail.method = value;
      failing = true;
    } else if (flag == "--reset-count") {
      line.options.initial_faults.rules.push_back({.count = number(flag, value, 1, kMax)});
    } else if (flag == "--stall-ms") {
      line.options.initial_faults.stall = std::chrono::milliseconds(number(flag, value, 0, kMax));
    } else {
      throw std::invalid_argument("unknown argument: " + flag);
    }
  }
  if (failing) line.options.initial_faults.rules.insert(line.options.initial_faults.rules.begin(), fail);
  return line;
}

}  // namespace orvanta::devserver
