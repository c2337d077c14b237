#include "VantrelCore/Model/LastEditedFormat.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

// 2026-03-07T10:05:09Z.
constexpr double stampSeconds = 1772877909.0;

Date unix(double seconds) {
  return Date::fromUnixSeconds(seconds);
}

TEST(LastEditedFormat, StampsWholeUtcSecondsWhateverTheDevice) {
  const struct {
    const char* zone;
    const char* locale;
  } devices[] = {{"UTC", "en_US"},
                 {"America/New_York", "en_US"},
                 {"Asia/Kolkata", "th_TH"},
                 {"Europe/Berlin", "fa_IR"},
                 {"Australia/Sydney", "ar_EG"}};
  const struct {
    double unixSeconds;
    const char* expected;
  } cases[] = {
      {stampSeconds + 0.7, "2026-03-07T10:05:09Z"},
      {stampSeconds + 0.999, "2026-03-07T10:05:09Z"},
      {0.0, "1970-01-01T00:00:00Z"},
      {-0.5, "1969-12-31T23:59:59Z"},
      {978307200.0, "2001-01-01T00:00:00Z"},
  };
  for (const auto& device : devices) {
    testing::ScopedDeviceSettings pinned(device.zone, device.locale);
    for (const auto& c : cases) {
      EXPECT_EQ(LastEditedFormat::string(unix(c.unixSeconds)), c.expected)
          << device.zone << " " << device.locale;
    }
  }
}

TEST(LastEditedFormat, ParsesOnlyCompleteStamps) {
  const struct {
    const char* text;
    std::optional<double> unixSeconds;
  } cases[] = {
      {"2026-03-07T10:05:09Z", stampSeconds},
      {"1970-01-01T00:00:00Z", 0.0},
      {"2024-02-29T23:59:59Z", 1709251199.0},
      {"2026-03-07T10:05:09", std::nullopt},
      {"2026-03-07T10:05:09Zjunk", std::nullopt},
      {"2026-03-07T10:05:09z", std::nullopt},
      {"2026-03-07T10:05:09+00:00", std::nullopt},
      {"2026-03-07 10:05:09Z", std::nullopt},
      {"2026-03-07T10:05Z", std::nullopt},
      {"2026-02-30T10:00:00Z", std::nullopt},
      {"2026-03-07T24:00:00Z", std::nullopt},
      {"2026-03-07", std::nullopt},
      {"Z", std::nullopt},
      {"", std::nullopt},
  };
  testing::ScopedDeviceSettings pinned("America/New_York", "fa_IR");
  for (const auto& c : cases) {
    const auto parsed = LastEditedFormat::date(c.text);
    if (c.unixSeconds) {
      ASSERT_TRUE(parsed.has_value()) << c.text;
      EXPECT_EQ(parsed->unixSeconds(), *c.unixSeconds) << c.text;
    } else {
      EXPECT_FALSE(parsed.has_value()) << c.text;
    }
  }
}

TEST(LastEditedFormat, GivesTheSameAnswersFromManyThreadsAtOnce) {
  constexpr int threadCount = 8;
  constexpr int stampsPerThread = 400;
  // Each instant is a different second, so a stamp mixed up between threads cannot go unnoticed.
  const auto instantOf = [](int thread, int index) {
    return unix(stampSeconds + thread * 86'400.0 * 37 + index * 3'727.0);
  };
  std::vector<std::vector<std::string>> expected(threadCount);
  for (int thread = 0; thread < threadCount; ++thread) {
    for (int index = 0; index < stampsPerThread; ++index) {
      expected[thread].push_back(LastEditedFormat::string(instantOf(thread, index)));
    }
  }

  std::atomic<int> mismatches = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&, thread] {
      for (int index = 0; index < stampsPerThread; ++index) {
        const Date instant = instantOf(thread, index);
        const std::string stamp = LastEditedFormat::string(instant);
        const auto parsed = LastEditedFormat::date(stamp);
        if (stamp != expected[thread][index] || !parsed || *parsed != instant) {
          ++mismatches;
        }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(mismatches.load(), 0);
}

} // namespace
} // namespace vantrel
