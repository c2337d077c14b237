#include "VantrelCore/Platform/StderrLogSink.hpp"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <tuple>

namespace vantrel {
namespace {

TEST(StderrLogSink, ReadsLevelAndPrivacyFromTheEnvironment) {
  const std::tuple<std::map<std::string, std::string>, LogLevel, bool> cases[] = {
      {{}, LogLevel::notice, false},
      {{{"VANTREL_LOG_LEVEL", "fault"}, {"VANTREL_LOG_PRIVATE", "1"}}, LogLevel::fault, true},
      {{{"VANTREL_LOG_LEVEL", "verbose"}, {"VANTREL_LOG_PRIVATE", "yes"}}, LogLevel::notice, false},
  };
  for (const auto& [environment, minimumLevel, showPrivate] : cases) {
    const auto settings =
        StderrLogSink::settingsFrom([&](std::string_view name) -> std::optional<std::string> {
          const auto found = environment.find(std::string(name));
          return found != environment.end() ? std::optional(found->second) : std::nullopt;
        });
    EXPECT_EQ(settings.minimumLevel, minimumLevel);
    EXPECT_EQ(settings.showPrivate, showPrivate);
  }
}

TEST(StderrLogSink, WritesOneLinePerRecordAtOrAboveTheMinimum) {
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* stream = ::open_memstream(&buffer, &size);
  StderrLogSink redacting({LogLevel::info, false}, stream);
  StderrLogSink revealing({LogLevel::error, true}, stream);
  for (const auto& [level, message, redacted] :
       {std::tuple{LogLevel::debug, "too chatty", "too chatty"},
        std::tuple{LogLevel::info, "Fetched Groceries", "Fetched <private>"},
        std::tuple{LogLevel::fault, "Lost Groceries\nagain\r", "Lost <private>\nagain\r"}}) {
    const LogRecord record{"com.vantrel.vantrel", "Sync", level, "", message, redacted, Date{}};
    redacting.write(record);
    revealing.write(record);
  }
  std::fclose(stream);
  EXPECT_EQ(std::string(buffer, size), "INFO [com.vantrel.vantrel:Sync] Fetched <private>\n"
                                       "FAULT [com.vantrel.vantrel:Sync] Lost <private>\\nagain\\r\n"
                                       "FAULT [com.vantrel.vantrel:Sync] Lost Groceries\\nagain\\r\n");
  std::free(buffer);
}

} // namespace
} // namespace vantrel
