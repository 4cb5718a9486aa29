#pragma once

#include <string>

#include "orvanta/platform/paths.h"

namespace orvanta::testing {

// A fresh folder per instance, with documents/ and tmp/ inside; removed with
// everything in it when the instance goes.
class TemporaryPaths : public Paths {
 public:
  TemporaryPaths();
  ~TemporaryPaths() override;
  TemporaryPaths(const TemporaryPaths&) = delete;
  TemporaryPaths& operator=(const TemporaryPaths&) = delete;

  std::string documentsDirectory() const override;
  std::string temporaryDirectory() const override;
  const std::string& root() const { return root_; }

 private:
  std::string root_;
};

}  // namespace orvanta::testing
