#pragma once

namespace orvanta {

// The library's build version, as exported values.
extern const unsigned char OrvantaPushVersionString[];
extern const double OrvantaPushVersionNumber;

// The client library version sent with every message.
inline constexpr const char* kSDKVersion = "2.2.0";

}  // namespace orvanta
