#include "VantrelCore/JSON/JSONScanner.hpp"
#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "tests/Support/HostileInputs.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

bool scannerAccepts(std::string_view text) {
  try {
    JSONScanner scanner(text);
    scanner.skipValue();
    scanner.finish();
    return true;
  } catch (const DecodingError&) {
    return false;
  }
}

bool parserAccepts(std::string_view text) {
  try {
    parseJSON(text);
    return true;
  } catch (const DecodingError&) {
    return false;
  }
}

// The checked skip agrees with the full parser on what is JSON, down to the characters inside strings.
TEST(JSONScanner, TheCheckedSkipAcceptsWhatTheParserAccepts) {
  const std::string texts[] = {R"({})",
                               R"([])",
                               R"({"a":1})",
                               R"({"a":[1,2,{"b":null}],"c":true,"d":false})",
                               R"( { "a" : [ 1 , 2 ] } )",
                               R"("\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00")",
                               R"(-0)",
                               R"(0.5e-3)",
                               R"(1E+9)",
                               R"(123456789012345678901234)",
                               R"({"a":1,})",
                               R"([1,])",
                               R"([,1])",
                               R"({"a" 1})",
                               R"({a:1})",
                               R"({"a":1 "b":2})",
                               R"([1 2])",
                               R"(01)",
                               R"(1.)",
                               R"(.5)",
                               R"(-)",
                               R"(1e)",
                               R"(+1)",
                               R"(tru)",
                               R"(nul)",
                               R"(falsey)",
                               R"("\x")",
                               R"("\u12G4")",
                               R"("open)",
                               R"({"a":1)",
                               R"([1,2)",
                               R"({"a":1}})",
                               R"([1]])",
                               R"({"a":[1}])",
                               R"()",
                               R"(  )",
                               R"("a" "b")",
                               R"({"a":1}x)",
                               R"([[[[[]]]]])",
                               "\"caf\xC3\xA9 \xF0\x9F\x98\x80\"",
                               "\"caf\xE9\"",
                               "\"cut \xC3\"",
                               "\"overlong \xC0\xAF\"",
                               "\"surrogate \xED\xA0\x80\"",
                               "\"tab\tinside\"",
                               R"("\udc00")",
                               R"("\ud800")",
                               R"("\ud800\u0041")",
                               "\xEF\xBB\xBF{}",
                               "\xBB{}",
                               std::string("{}\0", 3),
                               testing::deeplyNestedJSON(64, true),
                               testing::deeplyNestedJSON(65, true)};
  for (const auto& text : texts) {
    EXPECT_EQ(scannerAccepts(text), parserAccepts(text)) << text;
  }
  // Numbers too big for a double, refused by the parser's own rules, and numbers as big that it takes.
  const std::string numbers[] = {R"(1e309)",
                                 R"(-1e400)",
                                 R"(0e99999999999)",
                                 R"(1e+0309)",
                                 R"(1.0000e309)",
                                 R"(10e308)",
                                 R"(1e-400)",
                                 R"(1e308)",
                                 "1" + std::string(320, '0'),
                                 "1" + std::string(299, '0') + ".5e9"};
  for (const auto& number : numbers) {
    EXPECT_EQ(scannerAccepts(number), parserAccepts(number)) << number;
  }
}

TEST(JSONScanner, WalksMembersAndHandsOutRawValues) {
  JSONScanner scanner(R"({"name":"a\"b", "list":[1,{"x":2}], "n":-1.5e3 ,"none":null})");
  scanner.enterObject();
  std::vector<std::pair<std::string, std::string>> members;
  std::string_view key;
  while (scanner.nextMember(key)) {
    members.emplace_back(key, scanner.skipValue());
  }
  scanner.finish();
  const std::vector<std::pair<std::string, std::string>> expected{
      {"name", R"("a\"b")"}, {"list", R"([1,{"x":2}])"}, {"n", "-1.5e3"}, {"none", "null"}};
  EXPECT_EQ(members, expected);
  EXPECT_EQ(JSONScanner::stringValue(R"("a\"b\u00e9")"), "a\"bé");
  EXPECT_EQ(JSONScanner::stringValue("null"), std::nullopt);
  EXPECT_THROW(JSONScanner::stringValue("12"), DecodingError);
}

TEST(JSONScanner, TheBalancedSkipFindsTheEndAndTheDepth) {
  const struct {
    const char* text;
    std::string_view value;
    std::size_t depth;
  } cases[] = {{R"({"a":"}]\"{"} tail)", R"({"a":"}]\"{"})", 1},
               {R"([{"a":[{}]}],1)", R"([{"a":[{}]}])", 4},
               {R"("just a string")", R"("just a string")", 0},
               {R"({"a":tru, "b":,}X)", R"({"a":tru, "b":,})", 1}};
  for (const auto& testCase : cases) {
    JSONScanner scanner(testCase.text);
    EXPECT_EQ(scanner.skipBalanced(), testCase.value) << testCase.text;
    EXPECT_EQ(scanner.lastSkipDepth(), testCase.depth) << testCase.text;
  }
  for (const auto* broken : {R"({"a":[1})", R"({"a":"x)", R"([[)", R"({"a":"\)", "{\"a\":\"caf\xE9\"}",
                             "{\"a\":\"a\tb\"}", "{\"a\":\xC3\xA9}"}) {
    JSONScanner scanner(broken);
    EXPECT_THROW(scanner.skipBalanced(), DecodingError) << broken;
  }
}

// As deep as the full parser goes, entered objects included.
TEST(JSONScanner, TheBalancedSkipRefusesNestingBeyondTheParsersLimit) {
  for (const bool objects : {false, true}) {
    const auto deepest = testing::deeplyNestedJSON(64, objects);
    const auto deeper = testing::deeplyNestedJSON(65, objects);
    EXPECT_NO_THROW(JSONScanner(deepest).skipBalanced());
    EXPECT_THROW(JSONScanner(deeper).skipBalanced(), DecodingError);
  }
  const auto member = "{\"a\":" + testing::deeplyNestedJSON(64, false) + "}";
  JSONScanner scanner(member);
  scanner.enterObject();
  std::string_view key;
  ASSERT_TRUE(scanner.nextMember(key));
  EXPECT_THROW(scanner.skipBalanced(), DecodingError);
}

} // namespace
} // namespace vantrel
