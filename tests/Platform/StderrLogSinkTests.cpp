#include "VantrelCore/Platform/StderrLogSink.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace vantrel {
namespace {

TEST(StderrLogSink, ReadsLevelAndPrivacyFromTheEnvironment) {
  struct Case {
    std::map<std::string, std::string> environment;
    LogLevel minimumLevel;
    bool showPrivate;
  };
  const Case cases[] = {
      {{}, LogLevel::notice, false},
      {{{"VANTREL_LOG_LEVEL", "debug"}}, LogLevel::debug, false},
      {{{"VANTREL_LOG_LEVEL", "fault"}, {"VANTREL_LOG_PRIVATE", "1"}}, LogLevel::fault, true},
      {{{"VANTREL_LOG_LEVEL", "verbose"}}, LogLevel::notice, false},
      {{{"VANTREL_LOG_LEVEL", ""}, {"VANTREL_LOG_PRIVATE", "yes"}}, LogLevel::notice, false},
      {{{"VANTREL_LOG_PRIVATE", "0"}}, LogLevel::notice, false},
  };
  for (const auto& testCase : cases) {
    const auto settings =
        StderrLogSink::settingsFrom([&](std::string_view name) -> std::optional<std::string> {
          const auto found = testCase.environment.find(std::string(name));
          return found != testCase.environment.end() ? std::optional(found->second) : std::nullopt;
        });
    EXPECT_EQ(settings.minimumLevel, testCase.minimumLevel);
    EXPECT_EQ(settings.showPrivate, testCase.showPrivate);
  }
}

std::string writeAndRead(StderrLogSink::Settings settings, const std::vector<LogRecord>& records) {
  std::FILE* stream = std::tmpfile();
  {
    StderrLogSink sink(settings, stream);
    for (const auto& record : records) {
      sink.write(record);
    }
  }
  std::rewind(stream);
  std::string text;
  for (int letter = std::fgetc(stream); letter != EOF; letter = std::fgetc(stream)) {
    text += static_cast<char>(letter);
  }
  std::fclose(stream);
  return text;
}

LogRecord record(LogLevel level, std::string message, std::string redactedMessage) {
  return LogRecord{"com.vantrel.vantrel",      "CloudKitStore", level, "", std::move(message),
                   std::move(redactedMessage), Date{}};
}

TEST(StderrLogSink, WritesOneRedactedLinePerRecordAtOrAboveTheMinimum) {
  const std::vector<LogRecord> records = {
      record(LogLevel::debug, "too chatty", "too chatty"),
      record(LogLevel::info, "Fetched Groceries", "Fetched <private>"),
      record(LogLevel::fault, "two\nlines\r", "two\nlines\r"),
  };
  EXPECT_EQ(writeAndRead({LogLevel::info, false}, records),
            "INFO [com.vantrel.vantrel:CloudKitStore] Fetched <private>\n"
            "FAULT [com.vantrel.vantrel:CloudKitStore] two\\nlines\\r\n");
  EXPECT_EQ(writeAndRead({LogLevel::error, true}, records),
            "FAULT [com.vantrel.vantrel:CloudKitStore] two\\nlines\\r\n");
  EXPECT_EQ(writeAndRead({LogLevel::debug, true}, {records[1]}),
            "INFO [com.vantrel.vantrel:CloudKitStore] Fetched Groceries\n");
}

} // namespace
} // namespace vantrel
