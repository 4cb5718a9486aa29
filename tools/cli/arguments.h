#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvanta/value.h"

namespace orvanta::cli {

// The words after a command's name, taken by the command's handler. Options
// ("--name VALUE") may stand anywhere among the positional words; take them
// first. Every reader throws UsageError naming what is wrong.
class Arguments {
 public:
  explicit Arguments(std::vector<std::string> words) : words_(std::move(words)) {}

  // Removes "--name VALUE" and answers VALUE; nullopt when it is not there.
  std::optional<std::string> option(std::string_view name);
  // The next positional word; `what` names it in the error when it is missing.
  std::string required(std::string_view what);
  // The next positional word, or nullopt when none is left.
  std::optional<std::string> optional();
  // Throws when words are left over.
  void finish() const;

 private:
  std::vector<std::string> words_;
  std::size_t next_ = 0;
};

// Conversions of one word; `what` names the word in the error.
std::int64_t integerArgument(std::string_view what, const std::string& text);
// Any JSON document. The error gives the byte at which parsing failed.
Value jsonArgument(std::string_view what, const std::string& text);
// Product data: one JSON object, or an array of objects.
Array productsArgument(std::string_view what, const std::string& text);
// An even number of hexadecimal digits.
Bytes hexArgument(std::string_view what, const std::string& text);

}  // namespace orvanta::cli
