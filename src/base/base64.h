// Base64 (RFC 4648, standard alphabet, with padding) for bytes kept in JSON.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orvanta/value.h"

namespace orvanta {

std::string encodeBase64(const Bytes& bytes);
// nullopt unless text is canonical padded base64: length a multiple of four,
// only alphabet characters before the padding, unused trailing bits zero.
std::optional<Bytes> decodeBase64(std::string_view text);

}  // namespace orvanta
