#pragma once

#include <string>

namespace orvanta {

// Where the library keeps files. Both folders exist once the platform is built.
class Paths {
 public:
  virtual ~Paths() = default;
  // The application's private documents folder.
  virtual std::string documentsDirectory() const = 0;
  virtual std::string temporaryDirectory() const = 0;
};

}  // namespace orvanta
