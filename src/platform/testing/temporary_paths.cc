#include "orvanta/testing/temporary_paths.h"

#include <filesystem>
#include <random>

namespace orvanta::testing {
namespace fs = std::filesystem;

TemporaryPaths::TemporaryPaths() {
  std::random_device seed;
  std::mt19937_64 random(seed());
  for (;;) {
    fs::path candidate = fs::temp_directory_path() / ("orvanta-test-" + std::to_string(random()));
    if (fs::create_directory(candidate)) {
      root_ = candidate.string();
      break;
    }
  }
  fs::create_directory(documentsDirectory());
  fs::create_directory(temporaryDirectory());
}

TemporaryPaths::~TemporaryPaths() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::string TemporaryPaths::documentsDirectory() const { return root_ + "/documents"; }
std::string TemporaryPaths::temporaryDirectory() const { return root_ + "/tmp"; }

}  // namespace orvanta::testing
