#include "net/json_builder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/value_printer.h"

namespace orvanta {
namespace {

Value bytesOf(std::string_view text) { return Value(Bytes(text.begin(), text.end())); }

TEST(JsonBuilderTest, ParsingAnswersAnObjectOrArrayAnErrorOrNull) {
  EXPECT_EQ(std::get<Value>(OrvantaJsonBuilder::parseJsonObject(bytesOf("[1,{\"a\":null}]"))),
            Value(Array{1, Map{{"a", Null{}}}}));
  for (const char* notADocument : {"", "not json", "{", "5", "\"text\"", "true", "null", "{} {}"}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(OrvantaJsonBuilder::parseJsonObject(bytesOf(notADocument))))
        << notADocument;
  }
  EXPECT_TRUE(std::holds_alternative<std::monostate>(OrvantaJsonBuilder::parseJsonObject(Value("{}"))));
}

TEST(JsonBuilderTest, CreatingWritesCompactJsonOfAnObjectOrArrayOnly) {
  const std::string text = "{\"b\":[1,\"x/y\"],\"a\":2.5}";
  EXPECT_EQ(std::get<Bytes>(OrvantaJsonBuilder::createJsonObject(Value(Map{{"b", Array{1, "x/y"}}, {"a", 2.5}}))),
            Bytes(text.begin(), text.end()));
  for (const Value& unwritable :
       {Value(5), Value("text"), Value(Null{}), Value(Map{{"k", Bytes{1}}}), Value(Array{Date{0}}),
        Value(Map{{"k", std::numeric_limits<double>::infinity()}}), Value(Array{std::nan("")})}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(OrvantaJsonBuilder::createJsonObject(unwritable)));
  }
}

}  // namespace
}  // namespace orvanta
