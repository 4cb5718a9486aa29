#include "cli/command_line.h"

#include <charconv>
#include <functional>
#include <map>

#include "cli/commands.h"
#include "cli/usage_error.h"

namespace orvanta::cli {
namespace {

// The library appends method names and paths directly to a base URL.
std::string baseUrl(std::string url) {
  if (url.empty()) throw UsageError("a base URL must not be empty");
  if (url.back() != '/') url += '/';
  return url;
}

// A day at most, which keeps the deadline within the clock's range.
constexpr double kLongestWait = 86400;

double seconds(std::string_view flag, const std::string& text) {
  double value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || !(value >= 0 && value <= kLongestWait)) {
    throw UsageError(std::string(flag) + " needs a number of seconds from 0 to 86400, not \"" + text + "\"");
  }
  return value;
}

double number(std::string_view what, std::string_view text) {
  double value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) {
    throw UsageError(std::string(what) + " needs a number, not \"" + std::string(text) + "\"");
  }
  return value;
}

// "A<separator>B" as two numbers.
std::pair<double, double> numberPair(std::string_view what, const std::string& text, char separator) {
  const std::size_t split = text.find(separator);
  if (split == std::string::npos) {
    throw UsageError(std::string(what) + " needs two numbers joined by '" + separator + "', not \"" + text + "\"");
  }
  return {number(what, std::string_view(text).substr(0, split)), number(what, std::string_view(text).substr(split + 1))};
}

void setScreen(GlobalOptions& options, const std::string& text) {
  const auto [width, height] = numberPair("--screen", text, 'x');
  if (!(width > 0 && height > 0)) throw UsageError("--screen needs a width and a height above 0");
  options.screenWidth = width;
  options.screenHeight = height;
}

PopupPlay popupPlay(const std::string& text) {
  if (text == "stay") return {};
  if (text == "close") return {PopupPlay::Action::Close, ""};
  if (text == "click") return {PopupPlay::Action::Click, ""};
  if (text.starts_with("click=")) return {PopupPlay::Action::Click, text.substr(6)};
  throw UsageError("--popup needs stay, close, click or click=VALUE, not \"" + text + "\"");
}

using Setter = std::function<void(GlobalOptions&, const std::string&)>;

// Every global option that takes a value.
const std::map<std::string, Setter, std::less<>>& valueOptions() {
  static const std::map<std::string, Setter, std::less<>> options{
      {"--home", [](GlobalOptions& o, const std::string& v) { o.home = v; }},
      {"--app-id", [](GlobalOptions& o, const std::string& v) { o.appId = v; }},
      {"--tracking-url", [](GlobalOptions& o, const std::string& v) { o.config.trackingBaseUrl = baseUrl(v); }},
      {"--rules-url", [](GlobalOptions& o, const std::string& v) { o.config.rulesBaseUrl = baseUrl(v); }},
      {"--bundle-id", [](GlobalOptions& o, const std::string& v) { o.config.bundleIdentifier = v; }},
      {"--app-version", [](GlobalOptions& o, const std::string& v) { o.config.bundleShortVersion = v; }},
      {"--wait", [](GlobalOptions& o, const std::string& v) { o.waitSeconds = seconds("--wait", v); }},
      {"--after", [](GlobalOptions& o, const std::string& v) { o.afterSeconds = seconds("--after", v); }},
      {"--scheme", [](GlobalOptions& o, const std::string& v) { o.config.urlSchemes.push_back(v); }},
      {"--system-version", [](GlobalOptions& o, const std::string& v) { o.systemVersion = v; }},
      {"--screen", setScreen},
      {"--popup", [](GlobalOptions& o, const std::string& v) { o.popup = popupPlay(v); }},
      {"--location", [](GlobalOptions& o, const std::string& v) { o.location = numberPair("--location", v, ','); }},
  };
  return options;
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& args) {
  CommandLine line;
  std::size_t i = 0;
  for (; i < args.size() && args[i].starts_with("-"); ++i) {
    const std::string& flag = args[i];
    if (flag == "--help" || flag == "-h") {
      line.help = true;
      return line;
    }
    if (flag == "--quiet") {
      line.options.quiet = true;
      continue;
    }
    if (flag == "--no-delegate") {
      line.options.hostDelegate = false;
      continue;
    }
    if (flag == "--landscape") {
      line.options.landscape = true;
      continue;
    }
    auto option = valueOptions().find(flag);
    if (option == valueOptions().end()) throw UsageError("unknown option " + flag);
    if (i + 1 == args.size()) throw UsageError(flag + " needs a value");
    option->second(line.options, args[++i]);
  }
  if (i == args.size()) throw UsageError("no command given");
  line.command = args[i];
  line.words.assign(args.begin() + static_cast<std::ptrdiff_t>(i) + 1, args.end());
  return line;
}

std::string usageText() {
  std::string text =
      "usage: orvanta [options] COMMAND [ARGS]\n"
      "One invocation is one launch of an app that links the library: the app's\n"
      "start-up runs (with --rules-url, until its rules download has answered),\n"
      "then COMMAND, then the program waits until the offline queue is empty (or\n"
      "--wait has passed) and exits.\n"
      "\n"
      "options:\n"
      "  --home DIR           the app's home folder (default: $ORVANTA_HOME, else\n"
      "                       $XDG_DATA_HOME/orvanta/<bundle id>)\n"
      "  --app-id ID          application id given to start-up (default orvanta-cli)\n"
      "  --tracking-url URL   tracking server base URL\n"
      "  --rules-url URL      rules server base URL\n"
      "  --bundle-id ID       bundle identifier (names the device id's secure item)\n"
      "  --app-version V      bundle short version\n"
      "  --wait SECONDS       time limit for the offline queue to empty (default 10)\n"
      "  --after SECONDS      run the command SECONDS after start-up (default 0); in-app\n"
      "                       rules count their spent time from start-up\n"
      "  --quiet              no line per HTTP exchange\n"
      "  --scheme S           a URL scheme the app declares (repeatable)\n"
      "  --no-delegate        the app sets no push task manager delegate\n"
      "  --system-version V   the system version the app sees (default 17.0)\n"
      "  --screen WxH         the screen held upright, in points (default 320x568)\n"
      "  --landscape          the screen is turned on its side\n"
      "  --popup ACTION       what the user does with every popup: stay (default),\n"
      "                       close (the page's closeAction) or click[=VALUE]\n"
      "                       (its intentAction with VALUE, default empty)\n"
      "  --location LAT,LNG   the user lets the app know it is there (a fresh fix)\n"
      "\n"
      "commands:\n";
  for (const Command& command : commands()) {
    std::string head = "  " + std::string(command.name);
    if (!command.synopsis.empty()) head += " " + std::string(command.synopsis);
    text += head + "\n      " + std::string(command.summary) + "\n";
  }
  text +=
      "\n"
      "exit status: 0 done; 1 messages were still queued (or the queue could not\n"
      "be read) when the wait ended, or the command could not do its work;\n"
      "2 the command line could not be used.\n";
  return text;
}

}  // namespace orvanta::cli
