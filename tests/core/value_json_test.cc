#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "core/base64.h"
#include "orvanta/json.h"
#include "orvanta/value.h"

namespace orvanta {
namespace {

std::vector<std::string> keysOf(const Map& map) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : map) keys.push_back(key);
  return keys;
}

Value retagged(const Value& value) { return fromTaggedJson(Json::parse(toTaggedJson(value).dump())); }

// A value of every kind JSON can carry, nested. The third needs all 17
// significant digits.
Value everyPlainKind() {
  return Map{{"null", Null{}}, {"yes", true}, {"no", false}, {"int", 42}, {"negative", -7},
             {"int64 max", std::numeric_limits<std::int64_t>::max()},
             {"int64 min", std::numeric_limits<std::int64_t>::min()}, {"double", 0.1}, {"whole double", 3.0},
             {"tiny", 5e-324}, {"third", 1.0 / 3}, {"large", -1e22},
             {"text", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 \"quoted\" \\ \n\t"}, {"empty text", ""},
             {"list", Array{1, "two", Array{}, Map{}}}, {"nested", Map{{"z", 1}, {"a", Map{{"deep", Array{Null{}}}}}}}};
}

TEST(MapTest, KeepsInsertionOrderAndTellsAnAbsentKeyFromTheNullMarker) {
  Map map{{"z", 1}, {"a", 2}, {"m", Null{}}, {"a", 3}};  // a duplicate keeps the first place, the last value
  EXPECT_EQ(keysOf(map), (std::vector<std::string>{"z", "a", "m"}));
  EXPECT_EQ(*map.find("a"), Value(3));
  map.set("a", "replaced");
  EXPECT_EQ(keysOf(map), (std::vector<std::string>{"z", "a", "m"}));
  EXPECT_TRUE(map.erase("z"));
  EXPECT_FALSE(map.erase("z"));
  map.set("z", 9);  // re-added after erasure: goes last
  EXPECT_EQ(keysOf(map), (std::vector<std::string>{"a", "m", "z"}));

  ASSERT_TRUE(map.contains("m"));
  EXPECT_TRUE(map.find("m")->isNull());
  EXPECT_EQ(map.find("absent"), nullptr);
  EXPECT_FALSE(map.contains("absent"));
}

TEST(ValueTest, TruthyReadsBoolsAndNonZeroNumbersOnly) {
  for (const Value& yes : {Value(true), Value(-1), Value(0.25)}) EXPECT_TRUE(yes.truthy()) << dumpJson(yes);
  for (const Value& no : {Value(false), Value(0), Value(0.0), Value("1"), Value("true"), Value(Null{}),
                          Value(Array{true}), Value(Bytes{1})}) {
    EXPECT_FALSE(no.truthy()) << dumpJson(no);
  }
}

TEST(JsonTest, PlainValuesSurviveBothRoundTrips) {
  const Value value = everyPlainKind();
  EXPECT_EQ(parseJson(dumpJson(value)), value);
  EXPECT_EQ(fromJson(toJson(value)), value);
}

TEST(JsonTest, WritesCompactlyInInsertionOrder) {
  Map event{{"event", 20}, {"app", "x"}, {"b", true}};
  event.set("app", "y");
  event.set("after", Null{});
  EXPECT_EQ(dumpJson(event), R"({"event":20,"app":"y","b":true,"after":null})");
  EXPECT_EQ(keysOf(*parseJson(R"({"b":1,"a":2,"c":3})")->asMap()), (std::vector<std::string>{"b", "a", "c"}));

  // Bytes and dates become octets and seconds; non-finite doubles null.
  const Value odd = Map{{"bytes", Bytes{0, 127, 255}}, {"date", Date{1700000000.5}},
                        {"nan", std::numeric_limits<double>::quiet_NaN()},
                        {"inf", std::numeric_limits<double>::infinity()}};
  EXPECT_EQ(dumpJson(odd), R"({"bytes":[0,127,255],"date":1700000000.5,"nan":null,"inf":null})");
}

TEST(JsonTest, NumbersKeepTheirKinds) {
  const std::pair<const char*, Value> cases[] = {
      {"0", 0}, {"-0", 0}, {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      // Unsigned beyond the int64 range: as double, not wrapped around.
      {"9223372036854775808", 9223372036854775808.0}, {"18446744073709551615", 18446744073709551615.0},
      {"1.0", 1.0}, {"1e2", 100.0}, {"-2.5E-3", -0.0025}, {"1e308", 1e308}};
  for (const auto& [text, expected] : cases) {
    const std::optional<Value> parsed = parseJson(text);
    ASSERT_TRUE(parsed.has_value()) << text;
    EXPECT_EQ(*parsed, expected) << text;
    EXPECT_EQ(parsed->isInteger(), expected.isInteger()) << text;
  }
  // Larger than any int64 inside an object read through the Json tree too.
  EXPECT_TRUE(fromJson(Json{{"n", std::numeric_limits<std::uint64_t>::max()}}).asMap()->find("n")->isDouble());
}

TEST(JsonTest, InvalidUtf8IsReplacedNotThrown) {
  // Stray bytes, then a sequence cut short by the end of the string.
  const std::string broken = std::string("ok\xFF\xFE") + "end\xC3";
  std::string text;
  ASSERT_NO_THROW(text = dumpJson(Map{{"k\x80", broken}}));
  const std::string r = "\xEF\xBF\xBD";
  EXPECT_EQ(parseJson(text), Value(Map{{"k" + r, "ok" + r + r + "end" + r}})) << text;
}

TEST(JsonTest, ParseRejectsAnythingButOneDocument) {
  for (const char* text : {"", "   ", "{", "[1,]", "{\"a\":1,}", "{\"a\":1} {}", "nul", "'single'", "{a:1}", "01",
                           "1e400", "\"\xFF\"", "\"unterminated", "[1] // comment"}) {
    EXPECT_FALSE(parseJson(text).has_value()) << text;
  }
  EXPECT_EQ(parseJson(" \n[true]\t"), Value(Array{true}));
}

TEST(JsonTest, NestingIsBoundedInsteadOfExhaustingTheStack) {
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(parseJson(nested(500)).has_value());
  EXPECT_FALSE(parseJson(nested(513)).has_value());
  EXPECT_FALSE(parseJson(nested(20000)).has_value());

  Json deep = Json::array();
  for (int i = 0; i < 600; ++i) deep = Json::array({std::move(deep)});
  Value cut = fromJson(deep);  // no failure mode here: the cut level reads as null
  int depth = 0;
  for (; cut.asArray() != nullptr; ++depth) {
    ASSERT_EQ(cut.asArray()->size(), 1u);
    Value inner = std::move(cut.asArray()->front());
    cut = std::move(inner);
  }
  EXPECT_TRUE(cut.isNull());
  EXPECT_EQ(depth, 512);
}

TEST(TaggedJsonTest, EveryKindReadsBackAsItselfAndTagsAreSpelledAsDocumented) {
  Map value = *everyPlainKind().asMap();
  value.set("bytes", Bytes{0, 1, 2, 250, 255});
  value.set("no bytes", Bytes{});
  value.set("date", Date{1700000000.25});
  value.set("whole date", Date{86400});
  value.set("in a list", Array{Date{-1.5}, Bytes{7}});
  EXPECT_EQ(retagged(value), Value(value));
  EXPECT_TRUE(retagged(Date{86400}).isDate());
  EXPECT_EQ(toTaggedJson(Map{{"b", Bytes{'h', 'i'}}, {"d", Date{1.5}}}).dump(),
            R"({"b":{"$bytes":"aGk="},"d":{"$date":1.5}})");
}

TEST(TaggedJsonTest, MapsThatLookLikeTagsAreWrappedAndMalformedTagsReadAsMaps) {
  for (const Value& value : {Value(Map{{"$bytes", "aGk="}}), Value(Map{{"$date", 12}}),
                             Value(Map{{"$map", Map{{"x", 1}}}}), Value(Map{{"$map", 5}}),
                             Value(Map{{"$map", Map{{"$bytes", "aGk="}}}})}) {
    const Json tagged = toTaggedJson(value);
    EXPECT_TRUE(tagged.contains("$map")) << tagged.dump();
    EXPECT_EQ(retagged(value), value) << tagged.dump();
  }
  // With a second key there is nothing to mistake.
  const Value twoKeys = Map{{"$bytes", "aGk="}, {"other", 1}};
  EXPECT_EQ(toTaggedJson(twoKeys).dump(), R"({"$bytes":"aGk=","other":1})");
  EXPECT_EQ(retagged(twoKeys), twoKeys);

  for (const char* text : {R"({"$bytes":"not base64!"})", R"({"$bytes":"aGk"})", R"({"$bytes":7})",
                           R"({"$date":"yesterday"})", R"({"$map":[1]})"}) {
    EXPECT_EQ(fromTaggedJson(Json::parse(text)), fromJson(Json::parse(text))) << text;
  }
}

TEST(Base64Test, StandardVectorsAndEveryOctetRoundTrip) {
  const std::pair<const char*, const char*> vectors[] = {{"", ""},         {"f", "Zg=="},     {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},  {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}, {"\xFB\xFF", "+/8="}};
  for (const auto& [plain, encoded] : vectors) {
    const Bytes bytes(plain, plain + std::char_traits<char>::length(plain));
    EXPECT_EQ(encodeBase64(bytes), encoded);
    EXPECT_EQ(decodeBase64(encoded), bytes) << encoded;
  }
  Bytes all;
  for (int i = 0; i < 256; ++i) all.push_back(static_cast<std::uint8_t>(255 - i));
  EXPECT_EQ(decodeBase64(encodeBase64(all)), all);
}

TEST(Base64Test, RejectsNonCanonicalText) {
  for (const char* text : {"Zg", "Zg=", "Zg===", "Z===", "====", "Zm9v!", "Zm 9", "Zh==", "Zm9=", "Zg==Zg==", "Zm-_"}) {
    EXPECT_FALSE(decodeBase64(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace orvanta
