#include "cli/output.h"

#include <iostream>

namespace orvanta::cli {

void Output::line(std::string_view text) {
  std::lock_guard lock(mutex_);
  std::cout << text << '\n' << std::flush;
}

void Output::exchange(std::string_view text) {
  if (traceExchanges_) line(text);
}

void Output::note(std::string_view text) {
  std::lock_guard lock(mutex_);
  std::cerr << "orvanta: " << text << '\n' << std::flush;
}

}  // namespace orvanta::cli
