#pragma once

#include <stdexcept>

namespace orvanta::cli {

// A command line the program cannot use. main() prints the message and the
// usage text and exits with status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A command that could not do its work. main() prints the message and exits
// with status 1.
class CommandFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace orvanta::cli
