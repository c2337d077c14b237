#include "VantrelCore/Model/LastEditedFormat.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

// 2026-03-07T10:05:09Z.
constexpr double stampSeconds = 1772877909.0;
constexpr auto unix = [](double seconds) { return Date::fromUnixSeconds(seconds); };

TEST(LastEditedFormat, StampsWholeUtcSecondsWhateverTheDevice) {
  const std::pair<const char*, const char*> devices[] = {
      {"America/New_York", "en_US"}, {"Asia/Kolkata", "th_TH"}, {"Europe/Berlin", "fa_IR"}};
  for (const auto& [zone, locale] : devices) {
    testing::ScopedDeviceSettings pinned(zone, locale);
    EXPECT_EQ(LastEditedFormat::string(unix(stampSeconds + 0.999)), "2026-03-07T10:05:09Z") << zone;
    EXPECT_EQ(LastEditedFormat::string(unix(-0.5)), "1969-12-31T23:59:59Z") << zone;
  }
}

TEST(LastEditedFormat, ParsesOnlyCompleteStamps) {
  testing::ScopedDeviceSettings pinned("America/New_York", "fa_IR");
  EXPECT_EQ(LastEditedFormat::date("2026-03-07T10:05:09Z"), unix(stampSeconds));
  EXPECT_EQ(LastEditedFormat::date("2024-02-29T23:59:59Z"), unix(1709251199.0));
  for (const char* text : {"2026-03-07T10:05:09", "2026-03-07T10:05:09Zjunk", "2026-03-07T10:05:09ZZ",
                           "2026-03-07T10:05:09z", "2026-03-07T10:05:09+00:00", "2026-03-07 10:05:09Z",
                           "2026-03-07T10:05Z", "2026-02-30T10:00:00Z", "2026-03-07T24:00:00Z", "Z", ""}) {
    EXPECT_EQ(LastEditedFormat::date(text), std::nullopt) << text;
  }
}

TEST(LastEditedFormat, GivesTheSameAnswersFromManyThreadsAtOnce) {
  std::atomic<int> mismatches = 0;
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&mismatches, thread] {
      for (int index = 0; index < 400; ++index) {
        // Every instant is a different second, so a stamp swapped between threads does not read back.
        const Date instant = unix(stampSeconds + thread * 86'400.0 * 37 + index * 3'727.0);
        if (LastEditedFormat::date(LastEditedFormat::string(instant)) != instant) {
          ++mismatches;
        }
      }
    });
  }
  threads.clear(); // joins them
  EXPECT_EQ(mismatches.load(), 0);
}

} // namespace
} // namespace vantrel
