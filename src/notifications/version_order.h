// The order of system version texts.
#pragma once

#include <string_view>

namespace orvanta {

// Whether version comes before bound as the platform's numeric search orders
// them: runs of digits by their value, other characters one by one, and a
// text that runs out first comes first; so "9.3" < "10.0" and "10" < "10.0".
bool versionBelow(std::string_view version, std::string_view bound);

}  // namespace orvanta
