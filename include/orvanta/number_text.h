// Numbers as people and scripts write them.
#pragma once

#include <string>

namespace orvanta {

// The shortest decimal text that reads back as value, written the way a
// script engine writes a number: "454.4", "320", "-0.5", "0.000001",
// "1e-7", "100000000000000000000", "1e+21"; "0" for both zeros, "NaN",
// "Infinity" and "-Infinity" for the values that are not finite.
std::string shortestDecimal(double value);

}  // namespace orvanta
