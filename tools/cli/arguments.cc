#include "cli/arguments.h"

#include <algorithm>
#include <charconv>

#include "cli/usage_error.h"
#include "orvanta/json.h"

namespace orvanta::cli {
namespace {

// nlohmann's message without its "[json.exception.parse_error.101] " tag.
std::string errorText(const Json::exception& error) {
  std::string_view text = error.what();
  std::size_t tag = text.find("] ");
  return std::string(tag == std::string_view::npos ? text : text.substr(tag + 2));
}

}  // namespace

std::optional<std::string> Arguments::option(std::string_view name) {
  auto found = std::find(words_.begin() + static_cast<std::ptrdiff_t>(next_), words_.end(), name);
  if (found == words_.end()) return std::nullopt;
  if (found + 1 == words_.end()) throw UsageError(std::string(name) + " needs a value");
  std::string value = *(found + 1);
  words_.erase(found, found + 2);
  return value;
}

std::string Arguments::required(std::string_view what) {
  std::optional<std::string> word = optional();
  if (!word) throw UsageError("missing " + std::string(what));
  return *word;
}

std::optional<std::string> Arguments::optional() {
  if (next_ == words_.size()) return std::nullopt;
  const std::string& word = words_[next_];
  if (word.starts_with("--")) throw UsageError("unknown option " + word);
  ++next_;
  return word;
}

void Arguments::finish() const {
  if (next_ == words_.size()) return;
  const std::string& word = words_[next_];
  throw UsageError((word.starts_with("--") ? "unknown option " : "unexpected argument ") + word);
}

std::int64_t integerArgument(std::string_view what, const std::string& text) {
  std::int64_t value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec == std::errc::result_out_of_range) {
    throw UsageError(std::string(what) + " must fit in 64 bits, not \"" + text + "\"");
  }
  if (ec != std::errc() || end != text.data() + text.size()) {
    throw UsageError(std::string(what) + " must be an integer, not \"" + text + "\"");
  }
  return value;
}

Value jsonArgument(std::string_view what, const std::string& text) {
  try {
    return fromJson(Json::parse(text));
  } catch (const Json::parse_error& error) {
    // nlohmann counts from 1 and points at the byte it could not use (one
    // past the end when the text stopped short).
    throw UsageError(std::string(what) + " is not valid JSON at byte " + std::to_string(error.byte) + ": " +
                     errorText(error));
  } catch (const Json::out_of_range& error) {
    // A number no double can hold, such as 1e400; nlohmann names it.
    throw UsageError(std::string(what) + " holds a number out of range: " + errorText(error));
  }
}

Array productsArgument(std::string_view what, const std::string& text) {
  const Value payload = jsonArgument(what, text);
  if (payload.isMap()) return Array{payload};
  const Array* products = payload.asArray();
  if (products && std::all_of(products->begin(), products->end(), [](const Value& p) { return p.isMap(); })) {
    return *products;
  }
  throw UsageError(std::string(what) + " must be a JSON object or an array of objects");
}

Bytes hexArgument(std::string_view what, const std::string& text) {
  if (text.size() % 2 != 0) throw UsageError(std::string(what) + " needs an even number of hex digits");
  Bytes bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    std::uint8_t byte = 0;
    auto [end, ec] = std::from_chars(text.data() + i, text.data() + i + 2, byte, 16);
    if (ec != std::errc() || end != text.data() + i + 2) {
      throw UsageError(std::string(what) + " must be hexadecimal, not \"" + text + "\"");
    }
    bytes.push_back(byte);
  }
  return bytes;
}

}  // namespace orvanta::cli
