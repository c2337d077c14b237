#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/StderrLogSink.hpp"
#include "tests/Support/ScopedLogCapture.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

struct FormatCase {
  std::string format;
  std::vector<LogArgument> arguments;
  std::string message;
  std::string redactedMessage;
};

TEST(Logger, FillsPlaceholdersAndRedactsPrivateArguments) {
  const FormatCase cases[] = {
      {"Restored cache from disk: %ld records, %ld bytes",
       {12, 4096},
       "Restored cache from disk: 12 records, 4096 bytes",
       "Restored cache from disk: 12 records, 4096 bytes"},
      {"Failed to parse CKRecord %s/%s: %@",
       {"Task", "t-1", "bad date"},
       "Failed to parse CKRecord Task/t-1: bad date",
       "Failed to parse CKRecord <private>/<private>: <private>"},
      {"Cleared %{public}ld pending gap reminders",
       {3},
       "Cleared 3 pending gap reminders",
       "Cleared 3 pending gap reminders"},
      {"Badge authorization granted=%{bool,public}d",
       {true},
       "Badge authorization granted=true",
       "Badge authorization granted=true"},
      {"CloudKitStore started; accountStatus=%s; restoredState=%{bool}d",
       {"available", false},
       "CloudKitStore started; accountStatus=available; restoredState=false",
       "CloudKitStore started; accountStatus=<private>; restoredState=false"},
      {"Skipping schedule; authorization=%{public}s",
       {"denied"},
       "Skipping schedule; authorization=denied",
       "Skipping schedule; authorization=denied"},
      {"%{public}@ %{private}d %{private}f", {"zone", 7, 1.5}, "zone 7 1.500000", "zone <private> <private>"},
      {"%{public,bool}d %{bool}d %{bool}i %{bool}s",
       {0, -7, 1, "text"},
       "false true true text",
       "false true true <private>"},
      {"%d %i %u %ld %lld %lu %llu",
       {-1, -2, 3u, 4L, std::numeric_limits<std::int64_t>::min(), 6UL,
        std::numeric_limits<std::uint64_t>::max()},
       "-1 -2 3 4 -9223372036854775808 6 18446744073709551615",
       "-1 -2 3 4 -9223372036854775808 6 18446744073709551615"},
      {"%f|%.2f|%.0f|%.3f", {1.5, 3.14159, 2.7, 2}, "1.500000|3.14|3|2.000", "1.500000|3.14|3|2.000"},
      {"bool as int %d, as text %s",
       {true, false},
       "bool as int 1, as text false",
       "bool as int 1, as text <private>"},
      {"100%% of %d%%", {5}, "100% of 5%", "100% of 5%"},
      {"%d and %s", {1}, "1 and <missing>", "1 and <missing>"},
      {"count %d",
       {1, "leak", 2.5},
       "count 1 <extra: leak> <extra: 2.5>",
       "count 1 <extra: <private>> <extra: 2.5>"},
      // Unknown conversions are shown as written and take no argument.
      {"hex %x, width %5d, end %",
       {255},
       "hex %x, width %5d, end % <extra: 255>",
       "hex %x, width %5d, end % <extra: 255>"},
      {"%{time_t}d %{public", {9}, "9 %{public", "9 %{public"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.format);
    testing::ScopedLogCapture capture;
    Logger("com.vantrel.vantrel", "Tests").log(LogLevel::notice, testCase.format, testCase.arguments);
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, testCase.message);
    EXPECT_EQ(records[0].redactedMessage, testCase.redactedMessage);
    EXPECT_EQ(records[0].format, testCase.format);
  }
}

TEST(Logger, ConvertsEachArgumentTypeAtTheCall) {
  testing::ScopedLogCapture capture;
  const std::string owned = "owned";
  const char* null = nullptr;
  Logger("com.vantrel.vantrel", "Tests")
      .info("%{public}s %{public}s %{public}s %{public}s %lu %d %.1f %{bool}d %hhd", owned,
            std::string_view("view"), "literal", null, std::size_t{42}, short{-3}, 2.5f, true,
            static_cast<signed char>(-8));
  EXPECT_EQ(capture.messages(), std::vector<std::string>{"owned view literal (null) 42 -3 2.5 true -8"});
}

TEST(Logger, RecordsSubsystemCategoryAndLevel) {
  testing::ScopedLogCapture capture;
  const Logger logger("com.vantrel.vantrel", "CloudKitStore");
  logger.debug("d");
  logger.info("i");
  logger.notice("n");
  logger.error("e");
  logger.fault("f");
  const auto records = capture.records();
  const LogLevel levels[] = {LogLevel::debug, LogLevel::info, LogLevel::notice, LogLevel::error,
                             LogLevel::fault};
  ASSERT_EQ(records.size(), 5u);
  for (std::size_t index = 0; index < records.size(); ++index) {
    EXPECT_EQ(records[index].level, levels[index]);
    EXPECT_EQ(records[index].message, std::string(1, logLevelName(levels[index]).front()));
    EXPECT_EQ(records[index].subsystem, "com.vantrel.vantrel");
    EXPECT_EQ(records[index].category, "CloudKitStore");
  }
  EXPECT_TRUE(capture.contains("n"));
  EXPECT_FALSE(capture.contains("x"));
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

TEST(Logger, KeepsEveryRecordWrittenFromSeveralThreads) {
  testing::ScopedLogCapture capture;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      const Logger logger("com.vantrel.vantrel", "Threads");
      for (int index = 0; index < 250; ++index) {
        logger.notice("thread %d record %d", thread, index);
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(capture.records().size(), 1000u);
  EXPECT_TRUE(capture.contains("thread 3 record 249"));
}

} // namespace
} // namespace vantrel
