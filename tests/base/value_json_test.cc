#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "orvanta/json.h"
#include "orvanta/value.h"

namespace orvanta {
namespace {

using Keys = std::vector<std::string>;

Keys keysOf(const Map& map) {
  Keys keys;
  for (const auto& [key, value] : map) keys.push_back(key);
  return keys;
}

Value retagged(const Value& value) {
  return fromTaggedJson(Json::parse(toTaggedJson(value).dump()));
}

// A value of every kind JSON can carry, nested. The third needs all 17
// significant digits.
Value everyPlainKind() {
  const Value nested = Map{{"z", 1}, {"a", Map{{"deep", Array{Null{}}}}}};
  const Value list = Array{1, "two", Array{}, Map{}};
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  const char* text = "caf\xC3\xA9 \xF0\x9F\x98\x80 \"q\" \\ \n\t";
  return Array{Null{}, true, false, -7, kMax, kMin, 0.1, 3.0, 5e-324, 1.0 / 3, text, list, nested};
}

TEST(MapTest, KeepsInsertionOrderAndTellsAnAbsentKeyFromTheNullMarker) {
  Map map{{"z", 1}, {"a", 2}, {"m", Null{}}, {"a", 3}};  // a duplicate: first place, last value
  EXPECT_EQ(keysOf(map), (Keys{"z", "a", "m"}));
  EXPECT_EQ(*map.find("a"), Value(3));
  map.set("a", "replaced");
  EXPECT_TRUE(map.erase("z"));
  EXPECT_FALSE(map.erase("z"));
  map.set("z", 9);  // re-added after erasure: goes last
  EXPECT_EQ(keysOf(map), (Keys{"a", "m", "z"}));
  ASSERT_TRUE(map.contains("m"));
  EXPECT_TRUE(map.find("m")->isNull());
  EXPECT_EQ(map.find("absent"), nullptr);
}

TEST(JsonTest, WritesCompactlyInInsertionOrderAndReadsBackEveryKind) {
  const Value value = everyPlainKind();
  EXPECT_EQ(parseJson(dumpJson(value)), value);
  EXPECT_EQ(fromJson(toJson(value)), value);
  EXPECT_EQ(keysOf(*parseJson(R"({"b":1,"a":2,"c":3})")->asMap()), (Keys{"b", "a", "c"}));

  // Bytes and dates become octets and seconds; non-finite doubles null.
  const Value odd = Map{{"event", 20},
                        {"bytes", Bytes{0, 255}},
                        {"date", Date{1700000000.5}},
                        {"nan", std::numeric_limits<double>::quiet_NaN()},
                        {"inf", std::numeric_limits<double>::infinity()}};
  EXPECT_EQ(dumpJson(odd),
            R"({"event":20,"bytes":[0,255],"date":1700000000.5,"nan":null,"inf":null})");

  // Invalid UTF-8 from the host is replaced, not thrown.
  std::string text;
  ASSERT_NO_THROW(text = dumpJson(Map{{"k\x80", std::string("ok\xFF") + "end\xC3"}}));
  const std::string r = "\xEF\xBF\xBD";
  EXPECT_EQ(parseJson(text), Value(Map{{"k" + r, "ok" + r + "end" + r}})) << text;
}

TEST(JsonTest, NumbersKeepTheirKinds) {
  // Integers to the int64 limits; beyond them (not wrapped around) or with a
  // fraction or exponent, doubles.
  for (const char* text : {"0", "9223372036854775807", "-9223372036854775808"}) {
    const std::optional<Value> parsed = parseJson(text);
    ASSERT_TRUE(parsed && parsed->isInteger()) << text;
    EXPECT_EQ(dumpJson(*parsed), text);
  }
  EXPECT_EQ(parseJson("18446744073709551615"), Value(18446744073709551615.0));
  EXPECT_EQ(parseJson("-2.5E-3"), Value(-0.0025));
  EXPECT_TRUE(parseJson("1.0")->isDouble());
}

TEST(JsonTest, ParseRejectsAnythingButOneDocument) {
  for (const char* text : {"", "{", "[1,]", "{\"a\":1} {}", "nul", "{a:1}", "01", "1e400",
                           "\"\xFF\"", "[1] // comment"}) {
    EXPECT_FALSE(parseJson(text).has_value()) << text;
  }
  EXPECT_EQ(parseJson(" \n[true]\t"), Value(Array{true}));
}

TEST(JsonTest, NestingIsBoundedInsteadOfExhaustingTheStack) {
  const auto nested = [](std::size_t n) { return std::string(n, '[') + std::string(n, ']'); };
  EXPECT_TRUE(parseJson(nested(500)).has_value());
  EXPECT_FALSE(parseJson(nested(513)).has_value());
  EXPECT_FALSE(parseJson(nested(20000)).has_value());

  Json deep = Json::array();
  for (int i = 0; i < 600; ++i) deep = Json::array({std::move(deep)});
  const Value cut = fromJson(deep);  // no failure mode here: the cut level reads as null
  const Value* level = &cut;
  int depth = 0;
  for (; level->asArray() != nullptr && level->asArray()->size() == 1; ++depth) {
    level = &level->asArray()->front();
  }
  EXPECT_TRUE(level->isNull());
  EXPECT_EQ(depth, 512);
}

TEST(TaggedJsonTest, EveryKindReadsBackAsItselfAndTagsAreSpelledAsDocumented) {
  const Value value =
      Map{{"plain", everyPlainKind()},
          {"tagged", Array{Bytes{0, 1, 250, 255}, Bytes{}, Date{-1.5}, Date{86400}}}};
  EXPECT_EQ(retagged(value), value);
  EXPECT_EQ(toTaggedJson(Map{{"b", Bytes{'h', 'i'}}, {"d", Date{1.5}}}).dump(),
            R"({"b":{"$bytes":"aGk="},"d":{"$date":1.5}})");
}

TEST(TaggedJsonTest, MapsThatLookLikeTagsAreWrappedAndMalformedTagsReadAsMaps) {
  for (const Value& value : {Value(Map{{"$bytes", "aGk="}}), Value(Map{{"$date", 12}}),
                             Value(Map{{"$map", 5}}), Value(Map{{"$map", Map{{"$date", 1}}}})}) {
    const Json tagged = toTaggedJson(value);
    EXPECT_TRUE(tagged.contains("$map")) << tagged.dump();
    EXPECT_EQ(retagged(value), value) << tagged.dump();
  }
  // With a second key there is nothing to mistake.
  const Value twoKeys = Map{{"$bytes", "aGk="}, {"other", 1}};
  EXPECT_EQ(toTaggedJson(twoKeys).dump(), R"({"$bytes":"aGk=","other":1})");
  EXPECT_EQ(retagged(twoKeys), twoKeys);

  // Bytes in anything but canonical base64 included.
  for (const char* text : {R"({"$bytes":"aGk"})", R"({"$bytes":"Zh=="})", R"({"$bytes":"Zm 9"})",
                           R"({"$date":"yesterday"})", R"({"$map":[1]})"}) {
    EXPECT_EQ(fromTaggedJson(Json::parse(text)), fromJson(Json::parse(text))) << text;
  }
}

}  // namespace
}  // namespace orvanta
