#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/StderrLogSink.hpp"
#include "tests/Support/ScopedLogCapture.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vantrel {
namespace {

struct FormatCase {
  std::string format;
  std::vector<LogArgument> arguments;
  std::string message;
  /// Left empty when nothing is private, so it reads the same as the message.
  std::string redactedMessage = {};
};

TEST(Logger, FillsPlaceholdersAndRedactsPrivateArguments) {
  const FormatCase cases[] = {
      {"%s/%s: %@", {"Task", "t-1", "bad"}, "Task/t-1: bad", "<private>/<private>: <private>"},
      {"%{public}s %{public}@ %{ public }s", {"a", "b", "c"}, "a b c"},
      {"%{private}d %{private}f", {7, 1.5}, "7 1.500000", "<private> <private>"},
      {"%{bool,public}d %{bool}i %{bool}s", {0, -7, "x"}, "false true x", "false true <private>"},
      {"%d %i %u %ld", {-1, -2, 3u, 4L}, "-1 -2 3 4"},
      {"%lld %llu", {INT64_MIN, UINT64_MAX}, "-9223372036854775808 18446744073709551615"},
      {"%f|%.2f|%.0f|%.3f", {1.5, 3.14159, 2.7, 2}, "1.500000|3.14|3|2.000"},
      {"%d %s", {true, false}, "1 false", "1 <private>"},
      {"100%% of %d%%", {5}, "100% of 5%"},
      {"%d and %s", {1}, "1 and <missing>"},
      {"n %d", {1, "leak", 2.5}, "n 1 <extra: leak> <extra: 2.5>", "n 1 <extra: <private>> <extra: 2.5>"},
      // Unknown conversions and annotations are shown as written and take no argument.
      {"%x %5d %", {255}, "%x %5d % <extra: 255>"},
      {"%{time_t}d %{public", {9}, "9 %{public"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.format);
    testing::ScopedLogCapture capture;
    Logger("com.vantrel.vantrel", "Tests").log(LogLevel::notice, testCase.format, testCase.arguments);
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, testCase.message);
    EXPECT_EQ(records[0].redactedMessage,
              testCase.redactedMessage.empty() ? testCase.message : testCase.redactedMessage);
    EXPECT_EQ(records[0].format, testCase.format);
  }
}

TEST(Logger, ConvertsEachArgumentTypeAtTheCallAndRecordsWhoLogged) {
  testing::ScopedLogCapture capture;
  const Logger logger("com.vantrel.vantrel", "CloudKitStore");
  const char* null = nullptr;
  logger.debug("%{public}s %{public}s %{public}s %{public}s %lu %d %.1f %{bool}d %hhd", std::string("owned"),
               std::string_view("view"), "literal", null, std::size_t{42}, short{-3}, 2.5f, true,
               static_cast<signed char>(-8));
  logger.info("i");
  logger.notice("n");
  logger.error("e");
  logger.fault("f");
  const auto records = capture.records();
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(records[0].message, "owned view literal (null) 42 -3 2.5 true -8");
  for (std::size_t index = 0; index < records.size(); ++index) {
    EXPECT_EQ(records[index].level, static_cast<LogLevel>(index)) << records[index].message;
  }
  EXPECT_EQ(records[4].subsystem, "com.vantrel.vantrel");
  EXPECT_EQ(records[4].category, "CloudKitStore");
}

TEST(Logger, StartsWithTheStderrSinkAndHandsBackWhatItReplaces) {
  const auto original = Logger::setSink(nullptr);
  EXPECT_NE(std::dynamic_pointer_cast<StderrLogSink>(original), nullptr);
  {
    testing::ScopedLogCapture capture;
    EXPECT_EQ(Logger::setSink(original).get(), &capture.sink());
  }
  // The capture put back the sink it found, the null one.
  EXPECT_EQ(Logger::setSink(original), nullptr);
}

} // namespace
} // namespace vantrel
