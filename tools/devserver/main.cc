// orvanta-devserver: a local tracking and rules server for developing and testing Orvanta hosts.
// See README.md beside this file.

#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "devserver/command_line.h"
#include "devserver/dev_server.h"

namespace {

using orvanta::devserver::CommandLine;
using orvanta::devserver::DevServer;

// A new folder under the system's temporary folder; throws std::runtime_error on failure.
std::filesystem::path makeTemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "orvanta-devserver-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("cannot create a temporary folder under " + pattern);
  }
  return pattern;
}

void printAddresses(const DevServer& server, const std::filesystem::path& db, bool as_json) {
  if (as_json) {
    auto line = server.addresses();
    line["db"] = db.string();
    std::cout << line.dump() << std::endl;
    return;
  }
  std::cout << "orvanta-devserver\n"
            << "  tracking base  " << server.trackingBase() << "\n"
            << "  rules base     " << server.rulesBase() << "\n"
            << "  live page      " << server.pageUrl() << "\n"
            << "  control API    " << server.controlUrl() << "\n"
            << "  message store  " << db.string() << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  CommandLine line;
  try {
    line = orvanta::devserver::parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::invalid_argument& error) {
    std::cerr << "orvanta-devserver: " << error.what() << "\n" << orvanta::devserver::usageText();
    return 2;
  }
  if (line.help) {
    std::cout << orvanta::devserver::usageText();
    return 0;
  }

  // Signals are taken by sigwait below; every thread started from here on inherits the mask.
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGINT);
  sigaddset(&stop_signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);
  signal(SIGPIPE, SIG_IGN);  // a client that hangs up mid-answer is not fatal

  try {
    if (line.options.db_path.empty()) line.options.db_path = makeTemporaryFolder() / "messages.sqlite";
    std::filesystem::path db = line.options.db_path;
    DevServer server(std::move(line.options));
    printAddresses(server, db, line.print_json);
    int received = 0;
    sigwait(&stop_signals, &received);
  } catch (const std::exception& error) {
    std::cerr << "orvanta-devserver: " << error.what() << std::endl;
    return 1;
  }
  return 0;
}
