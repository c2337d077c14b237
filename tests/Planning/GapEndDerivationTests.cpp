#include "VantrelCore/Planning/GapEndDerivation.hpp"
#include "VantrelCore/Platform/InMemoryPreferences.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CalendarDate saturday{2026, 3, 7};

Date at(int hour, int minute = 0, const CalendarDate& day = saturday) {
  return *day.localTime(hour, minute);
}

GapRecord gap(std::string name, std::string time) {
  return GapRecord{.recordName = std::move(name), .dayRef = saturday.description(), .time = std::move(time)};
}

class GapEndDerivationTest : public ::testing::Test {
protected:
  testing::ScopedDeviceSettings settings_{"America/New_York"};
  InMemoryPreferences standard_;
  CalendarGapPreferences preferences_{standard_, nullptr};
};

TEST_F(GapEndDerivationTest, StartTimesReadOnlyAsHoursAndMinutes) {
  const struct {
    const char* time;
    std::optional<Date> start;
  } cases[] = {
      {"09:05", at(9, 5)},     {"9:05", at(9, 5)},         {"0:00", at(0)},         {"23:59", at(23, 59)},
      {"+9:05", at(9, 5)},     {"12::30", at(12, 30)},     {"24:00", std::nullopt}, {"12:60", std::nullopt},
      {"12", std::nullopt},    {"12:00:00", std::nullopt}, {"ab:cd", std::nullopt}, {"-1:00", std::nullopt},
      {" 9:05", std::nullopt}, {"", std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(GapEndDerivation::startDate(gap("g-1", c.time), saturday), c.start) << c.time;
  }
}

TEST_F(GapEndDerivationTest, TheContainingEventIsTheFirstTimedOneByStart) {
  const std::vector<CalendarEvent> events{
      CalendarEvent{.id = "all-day", .start = at(0), .end = at(0, 0, saturday.adding(1)), .isAllDay = true},
      CalendarEvent{.id = "late", .start = at(9, 45), .end = at(10, 30)},
      CalendarEvent{.id = "meeting", .start = at(9, 30), .end = at(11, 15)},
  };
  EXPECT_EQ(GapEndDerivation::containingEvent(gap("g-1", "10:00"), saturday, events)->id, "meeting");
  EXPECT_FALSE(GapEndDerivation::containingEvent(gap("g-1", "11:15"), saturday, events));
  EXPECT_FALSE(GapEndDerivation::containingEvent(gap("g-1", "08:00"), saturday, events))
      << "all-day is not it";
}

TEST_F(GapEndDerivationTest, EndsComeFromTheOtherGapsOfTheDayAndTheCalendar) {
  const std::vector<GapRecord> gaps{gap("g-1", "13:00"), gap("g-2", "15:00"), gap("g-bad", "later")};
  const std::vector<CalendarEvent> none;
  EXPECT_EQ(GapEndDerivation::info(gaps[0], saturday, gaps, none, preferences_),
            (TaskGapEnd{at(15), TaskGapEndSource::nextBoundary}));
  EXPECT_EQ(GapEndDerivation::info(gaps[1], saturday, gaps, none, preferences_),
            (TaskGapEnd{at(20), TaskGapEndSource::nextBoundary}));
  EXPECT_FALSE(GapEndDerivation::info(gaps[2], saturday, gaps, none, preferences_));
  preferences_.setDayEndHour(18);
  EXPECT_EQ(GapEndDerivation::info(gaps[1], saturday, gaps, none, preferences_)->end, at(18));
}

TEST_F(GapEndDerivationTest, AGapWithoutAnEndIsCurrentUntilTheDayStartsOrEnds) {
  const std::vector<CalendarEvent> none;
  const auto early = gap("g-1", "06:00");
  const auto late = gap("g-2", "21:00");
  const std::vector<GapRecord> gaps{early, late};
  EXPECT_EQ(GapEndDerivation::currentUntil(early, saturday, gaps, none, preferences_), at(8));
  EXPECT_EQ(GapEndDerivation::currentUntil(late, saturday, gaps, none, preferences_),
            at(0, 0, saturday.adding(1)));
  EXPECT_EQ(GapEndDerivation::currentUntil(gap("g-3", "12:00"), saturday, gaps, none, preferences_), at(20));

  // With an empty window there is no derived end, and the same fallbacks hold.
  preferences_.setDayStartHour(21);
  preferences_.setDayEndHour(9);
  EXPECT_FALSE(GapEndDerivation::info(early, saturday, gaps, none, preferences_));
  EXPECT_EQ(GapEndDerivation::currentUntil(early, saturday, gaps, none, preferences_), at(21));
  EXPECT_FALSE(GapEndDerivation::currentUntil(gap("g-4", "noon"), saturday, gaps, none, preferences_));
}

// Gap starts and the day's start are times on the clock of their day, also on the days the clocks change;
// and a gap that has begun ends the open-ended one before it.
TEST_F(GapEndDerivationTest, ClockChangeDaysAndLaterGapsEndOpenEndedOnes) {
  const char* newYork = "America/New_York";
  const char* berlin = "Europe/Berlin";
  const CalendarDate newYorkForward{2026, 3, 8}, newYorkBack{2026, 11, 1};
  const CalendarDate berlinForward{2026, 3, 29}, berlinBack{2026, 10, 25};
  struct Until {
    int dayOffset;
    int hour;
    int minute;
  };
  const struct {
    const char* zone;
    CalendarDate day;
    std::int64_t dayStartHour;
    std::int64_t dayEndHour;
    std::vector<std::string> times;
    std::string asked;
    Until until;
  } cases[] = {
      // The day starts at 8:00 on the clock, not eight hours after midnight (7:00 or 9:00 on these days).
      {newYork, newYorkBack, 8, 20, {"07:30", "09:00"}, "07:30", {0, 8, 0}},
      {newYork, newYorkBack, 8, 20, {"07:30", "09:00"}, "09:00", {0, 20, 0}},
      {newYork, newYorkBack, 8, 20, {"00:30"}, "00:30", {0, 8, 0}},
      {newYork, newYorkForward, 8, 20, {"07:30", "09:00"}, "07:30", {0, 8, 0}},
      {newYork, newYorkForward, 8, 20, {"21:00"}, "21:00", {1, 0, 0}},
      {berlin, berlinForward, 8, 20, {"06:00", "09:00"}, "06:00", {0, 8, 0}},
      {berlin, berlinBack, 8, 20, {"06:00"}, "06:00", {0, 8, 0}},
      // With an empty window nothing derives an end; the next gap to begin still ends this one.
      {newYork, newYorkBack, 21, 9, {"06:00", "10:00"}, "06:00", {0, 10, 0}},
      {newYork, newYorkBack, 21, 9, {"22:00", "23:15"}, "22:00", {0, 23, 15}},
      {newYork, newYorkBack, 21, 9, {"22:00", "23:15"}, "23:15", {1, 0, 0}},
  };
  for (const auto& c : cases) {
    testing::ScopedDeviceSettings zone(c.zone);
    preferences_.setDayStartHour(c.dayStartHour);
    preferences_.setDayEndHour(c.dayEndHour);
    std::vector<GapRecord> gaps;
    for (const auto& time : c.times) {
      gaps.push_back(GapRecord{.recordName = "g-" + time, .dayRef = c.day.description(), .time = time});
    }
    const auto asked =
        GapRecord{.recordName = "g-" + c.asked, .dayRef = c.day.description(), .time = c.asked};
    const auto expected = at(c.until.hour, c.until.minute, c.day.adding(c.until.dayOffset));
    EXPECT_EQ(GapEndDerivation::currentUntil(asked, c.day, gaps, {}, preferences_), expected)
        << c.zone << " " << c.day << " " << c.asked;
    const auto each = GapEndDerivation::endsOfEach(gaps, c.day, {}, preferences_);
    const auto index = std::size_t(std::ranges::find(c.times, c.asked) - c.times.begin());
    EXPECT_EQ(each.at(index).currentUntil, expected) << c.zone << " " << c.day << " " << c.asked;
    EXPECT_EQ(each.at(index).end, GapEndDerivation::info(asked, c.day, gaps, {}, preferences_));
  }
}

} // namespace
} // namespace vantrel
