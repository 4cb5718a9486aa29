#include <gtest/gtest.h>

#include "orvanta/log.h"

// Library log lines are kept out of the test report unless asked for.
int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (!std::getenv("ORVANTA_TEST_LOG")) orvanta::setLogSink([](std::string_view) {});
  return RUN_ALL_TESTS();
}
