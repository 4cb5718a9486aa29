#include "notifications/version_order.h"

namespace orvanta {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The run of digits at the start of text, without its leading zeros.
std::string_view digitRun(std::string_view text, std::size_t& length) {
  length = 0;
  while (length < text.size() && isDigit(text[length])) ++length;
  std::string_view run = text.substr(0, length);
  while (run.size() > 1 && run.front() == '0') run.remove_prefix(1);
  return run;
}

}  // namespace

bool versionBelow(std::string_view version, std::string_view bound) {
  while (!version.empty() && !bound.empty()) {
    if (isDigit(version.front()) && isDigit(bound.front())) {
      std::size_t versionLength = 0;
      std::size_t boundLength = 0;
      const std::string_view a = digitRun(version, versionLength);
      const std::string_view b = digitRun(bound, boundLength);
      if (a.size() != b.size()) return a.size() < b.size();
      if (a != b) return a < b;
      version.remove_prefix(versionLength);
      bound.remove_prefix(boundLength);
    } else {
      if (version.front() != bound.front()) return version.front() < bound.front();
      version.remove_prefix(1);
      bound.remove_prefix(1);
    }
  }
  return version.size() < bound.size();
}

}  // namespace orvanta
