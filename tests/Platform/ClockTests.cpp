#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace vantrel {
namespace {

double unixNow() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

TEST(SystemClock, ReadsTheWallClockCountedFromTheReferenceDate) {
  const double before = unixNow();
  const Date now = SystemClock().now();
  const double after = unixNow();
  // Converted the same way, so rounding keeps the order.
  EXPECT_LE(Date::fromUnixSeconds(before), now);
  EXPECT_LE(now, Date::fromUnixSeconds(after));
}

TEST(FixedClock, StandsStillUntilSetOrAdvanced) {
  FixedClock clock(Date{700000000.0});
  EXPECT_EQ(clock.now(), Date{700000000.0});
  EXPECT_EQ(clock.now(), Date{700000000.0});
  clock.advance(90.5);
  EXPECT_EQ(clock.now(), Date{700000090.5});
  clock.advance(-0.5);
  EXPECT_EQ(clock.now(), Date{700000090.0});
  clock.set(Date{-3600.0});
  EXPECT_EQ(clock.now(), Date{-3600.0});
  EXPECT_EQ(FixedClock().now(), Date{});
}

TEST(FixedClock, LosesNoStepWhenAdvancedFromSeveralThreads) {
  FixedClock clock;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&clock] {
      for (int step = 0; step < 5000; ++step) {
        clock.advance(0.25);
        static_cast<void>(clock.now());
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(clock.now(), Date{5000.0});
}

} // namespace
} // namespace vantrel
