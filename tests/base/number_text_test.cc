#include "orvanta/number_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace orvanta {
namespace {

// Shortest round-trip digits, laid out as a script writes numbers: plain
// from 1e-6 up to below 1e21, with an exponent outside.
TEST(NumberTextTest, ShortestDecimalWritesNumbersAsAScriptDoes) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::pair<double, const char*> cases[] = {
      {0, "0"},
      {-0.0, "0"},
      {320, "320"},
      {454.4, "454.4"},
      {0.8 * 568, "454.40000000000003"},
      {-0.5, "-0.5"},
      {113.6, "113.6"},
      {1e20, "100000000000000000000"},
      {1e21, "1e+21"},
      {1.5e300, "1.5e+300"},
      {0.000001, "0.000001"},
      {1.25e-7, "1.25e-7"},
      {1e-7, "1e-7"},
      {123456789012345680, "123456789012345680"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
      {inf, "Infinity"},
      {-inf, "-Infinity"},
      {std::numeric_limits<double>::quiet_NaN(), "NaN"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(shortestDecimal(value), text) << text;
}

}  // namespace
}  // namespace orvanta
