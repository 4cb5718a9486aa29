#include "base/base64.h"

#include <array>
#include <cstdint>

namespace orvanta {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kInvalid = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDecodeTable() {
  std::array<std::uint8_t, 256> table{};
  table.fill(kInvalid);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return table;
}
constexpr std::array<std::uint8_t, 256> kDecode = makeDecodeTable();

}  // namespace

std::string encodeBase64(const Bytes& bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t n = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += kAlphabet[(n >> 6) & 63];
    out += kAlphabet[n & 63];
  }
  const std::size_t rest = bytes.size() - i;
  if (rest > 0) {
    std::uint32_t n = bytes[i] << 16;
    if (rest == 2) n |= bytes[i + 1] << 8;
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += rest == 2 ? kAlphabet[(n >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::optional<Bytes> decodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  if (!text.empty() && text.back() == '=') padding = text[text.size() - 2] == '=' ? 2 : 1;
  Bytes out;
  out.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    const std::size_t digits = last ? 4 - padding : 4;
    std::uint32_t n = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      std::uint8_t d = 0;
      if (k < digits) {
        d = kDecode[static_cast<unsigned char>(text[i + k])];
        if (d == kInvalid) return std::nullopt;
      }
      n = (n << 6) | d;
    }
    out.push_back(static_cast<std::uint8_t>(n >> 16));
    if (digits > 2) out.push_back(static_cast<std::uint8_t>(n >> 8));
    if (digits > 3) out.push_back(static_cast<std::uint8_t>(n));
    // The bits past the last whole octet must be zero, so that each byte
    // string has exactly one spelling.
    if (digits == 2 && (n & 0xFFFF) != 0) return std::nullopt;
    if (digits == 3 && (n & 0xFF) != 0) return std::nullopt;
  }
  return out;
}

}  // namespace orvanta
