#include "VantrelCore/Platform/UTF8.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(UTF8, RepairReplacesEachMaximalIllFormedSubpartOnce) {
  const std::string replacement = "\xEF\xBF\xBD";
  const struct {
    std::string input;
    std::string repaired;
    std::optional<std::size_t> firstInvalid;
  } cases[] = {
      {"caf\xC3\xA9 \xF0\x9F\x98\x80", "caf\xC3\xA9 \xF0\x9F\x98\x80", std::nullopt},
      {"Latin-1 caf\xE9!", "Latin-1 caf" + replacement + "!", 11},
      // A lead byte whose continuation is missing is one subpart; the byte after it starts afresh.
      {"\xE2\x82(", replacement + "(", 0},
      {"cut \xF0\x9F\x98", "cut " + replacement, 4},
      // Bytes that can never start a sequence are one replacement each.
      {"\xC0\xAF", replacement + replacement, 0},
      {"\xED\xA0\x80", replacement + replacement + replacement, 0},
      {"\xF4\x90\x80\x80", replacement + replacement + replacement + replacement, 0},
      {"a\x80\x80z", "a" + replacement + replacement + "z", 1},
  };
  for (const auto& [input, repaired, firstInvalid] : cases) {
    EXPECT_EQ(repairedUTF8(input), repaired) << ::testing::PrintToString(input);
    EXPECT_EQ(firstInvalidUTF8Byte(input), firstInvalid) << ::testing::PrintToString(input);
    EXPECT_EQ(isValidUTF8(input), !firstInvalid.has_value());
    EXPECT_TRUE(isValidUTF8(repairedUTF8(input)));
  }
}

} // namespace
} // namespace vantrel
