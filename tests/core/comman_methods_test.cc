#include "core/comman_methods.h"

#include <gtest/gtest.h>

#include "orvanta/log.h"
#include "support/log_lines.h"
#include "support/test_runtime.h"

namespace orvanta::testing {
namespace {

TEST(SettingsLookupTest, MissingKeysReadAsEmptyOrTheAppGroupFallbackUnderTheLiteralKey) {
  TestRuntime app;
  auto& methods = app.commanMethods();
  EXPECT_EQ(methods.getFromDefaults("never-written"), Value(""));
  app.platform().appGroupSettings->set("never-written", "not this one");
  EXPECT_EQ(methods.getFromDefaults("never-written"), Value(""));
  app.platform().appGroupSettings->set("key", "  shared value\t");
  EXPECT_EQ(methods.getFromDefaults("never-written"), Value("shared value"));

  methods.saveToDefaults(Value(7), "written");
  EXPECT_EQ(methods.getFromDefaults("written"), Value(7));
  EXPECT_EQ(app.platform().standardSettings->synchronizeCount(), 1);
}

TEST(LogTest, LinesCarryThePrefixWordAndASinkThatLogsItselfDoesNotWaitForItself) {
  {
    LogLines log;
    TestRuntime app;
    app.commanMethods().log("hello");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Orvanta hello"});
  }
  std::vector<std::string> lines;
  setLogSink([&](std::string_view line) {
    lines.emplace_back(line);
    logLine("from within the sink");  // to standard error, not back here
  });
  logLine("first");
  logLine("second");
  setLogSink([](std::string_view) {});
  EXPECT_EQ(lines, (std::vector<std::string>{"first", "second"}));
}

}  // namespace
}  // namespace orvanta::testing
