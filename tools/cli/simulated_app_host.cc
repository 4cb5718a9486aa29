#include "cli/simulated_app_host.h"

namespace orvanta::cli {

bool SimulatedAppHost::openURL(const std::string& url) {
  output_->line("opened " + url);
  return true;
}

}  // namespace orvanta::cli
