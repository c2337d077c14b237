#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"

#include <ctime>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

TEST(SystemClock, ReadsTheWallClockCountedFromTheReferenceDate) {
  // time() counts whole seconds from 1970, so it brackets the instant with a second to spare.
  const Date before = Date::fromUnixSeconds(double(std::time(nullptr)));
  const Date now = SystemClock().now();
  const Date after = Date::fromUnixSeconds(double(std::time(nullptr)) + 1);
  EXPECT_TRUE(before <= now && now <= after) << now.secondsSinceReferenceDate;
}

TEST(FixedClock, LosesNoStepWhenAdvancedFromSeveralThreads) {
  FixedClock clock(Date{-100.0});
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&clock] {
        for (int step = 0; step < 5000; ++step) {
          clock.advance(0.25);
        }
      });
    }
  }
  EXPECT_EQ(clock.now(), Date{4900.0});
}

} // namespace
} // namespace vantrel
