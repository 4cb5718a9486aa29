#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/popup_player.h"
#include "orvanta/config.h"

namespace orvanta::cli {

// The options that stand in front of the command name.
struct GlobalOptions {
  // The app's home folder (documents, settings, secure store); empty: the
  // library's default ($ORVANTA_HOME, else under $XDG_DATA_HOME or ~/.local/share).
  std::string home;
  // The application id given to start-up.
  std::string appId = "orvanta-cli";
  // Tracking and rules base URLs, bundle identifier and short version, the
  // URL schemes the app declares.
  Config config = [] {
    Config defaults;
    defaults.bundleIdentifier = "io.orvanta.cli";
    return defaults;
  }();
  // How long to wait, after the command, for the offline queue to empty.
  double waitSeconds = 10;
  // How long after start-up the command runs (at the earliest).
  double afterSeconds = 0;
  // Leave out the line per HTTP exchange.
  bool quiet = false;
  // The device's system version the app sees.
  std::string systemVersion = "17.0";
  // Whether the app gives the push task manager a delegate (--no-delegate: not).
  bool hostDelegate = true;
  // The screen held upright (--screen WxH), and whether it is turned (--landscape).
  double screenWidth = HeadlessScreen::kDefaultWidth;
  double screenHeight = HeadlessScreen::kDefaultHeight;
  bool landscape = false;
  // What the user does with every popup (--popup).
  PopupPlay popup;
  // A permitted, fresh position fix as latitude and longitude (--location);
  // none: the Linux default, permission never given.
  std::optional<std::pair<double, double>> location;
};

struct CommandLine {
  GlobalOptions options;
  std::string command;             // empty with --help
  std::vector<std::string> words;  // what follows the command name
  bool help = false;
};

// Reads the arguments after the program name: global options, then the
// command name and its own words. Throws UsageError naming what it cannot use.
CommandLine parseCommandLine(const std::vector<std::string>& args);

// The full usage text: global options and every command of the table.
std::string usageText();

}  // namespace orvanta::cli
