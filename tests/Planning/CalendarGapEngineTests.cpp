#include "VantrelCore/Planning/CalendarGapEngine.hpp"
#include "VantrelCore/Platform/InMemoryPreferences.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CalendarDate saturday{2026, 3, 7};

Date at(int hour, int minute = 0, const CalendarDate& day = saturday) {
  return *day.localTime(hour, minute);
}

CalendarEvent event(Date start, Date end, bool isAllDay = false) {
  static int count = 0;
  return CalendarEvent{.id = "e" + std::to_string(++count),
                       .title = "event",
                       .start = start,
                       .end = end,
                       .isAllDay = isAllDay};
}

using Span = std::pair<Date, Date>;

std::vector<Span> spans(const std::vector<CalendarGap>& gaps) {
  std::vector<Span> result;
  for (const auto& gap : gaps) {
    result.emplace_back(gap.start, gap.end);
  }
  return result;
}

class CalendarGapEngineTest : public ::testing::Test {
protected:
  testing::ScopedDeviceSettings settings_{"America/New_York"};
};

TEST_F(CalendarGapEngineTest, OpenTimeIsWhatNoTimedEventCovers) {
  const struct {
    const char* name;
    std::vector<CalendarEvent> events;
    std::int64_t minimumMinutes;
    std::vector<Span> gaps;
  } cases[] = {
      {"no events", {}, 15, {{at(8), at(20)}}},
      {"overlapping events merge",
       {event(at(9), at(10)), event(at(9, 30), at(11))},
       15,
       {{at(8), at(9)}, {at(11), at(20)}}},
      {"a nested event never moves the cursor back",
       {event(at(9), at(12)), event(at(10), at(11))},
       15,
       {{at(8), at(9)}, {at(12), at(20)}}},
      {"14 minutes are too short for 15",
       {event(at(10), at(10, 10)), event(at(10, 24), at(12))},
       15,
       {{at(8), at(10)}, {at(12), at(20)}}},
      {"and long enough for 14",
       {event(at(10), at(10, 10)), event(at(10, 24), at(12))},
       14,
       {{at(8), at(10)}, {at(10, 10), at(10, 24)}, {at(12), at(20)}}},
      {"an event into the morning", {event(at(7), at(8, 30))}, 15, {{at(8, 30), at(20)}}},
      {"an event past the evening", {event(at(19, 30), at(22))}, 15, {{at(8), at(19, 30)}}},
      {"an event wholly before the window stops the sweep",
       {event(at(5), at(6)), event(at(9), at(10))},
       15,
       {{at(8), at(20)}}},
      {"so does a zero-length event",
       {event(at(9), at(10)), event(at(12), at(12)), event(at(14), at(15))},
       15,
       {{at(8), at(9)}, {at(10), at(20)}}},
      {"all-day events take no part",
       {event(at(0), at(0, 0, saturday.adding(1)), true)},
       15,
       {{at(8), at(20)}}},
      {"events given out of order",
       {event(at(15), at(16)), event(at(9), at(10))},
       15,
       {{at(8), at(9)}, {at(10), at(15)}, {at(16), at(20)}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(spans(CalendarGapEngine::compute(saturday, c.events, 8, 20, c.minimumMinutes)), c.gaps)
        << c.name;
  }
}

TEST_F(CalendarGapEngineTest, AGapIsNamedByItsBoundsAndReadsAsTheUserSeesIt) {
  const auto gaps = CalendarGapEngine::compute(saturday, {}, 8, 20, 15);
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].id, "794581200.0-794624400.0");
  EXPECT_EQ(gaps[0].duration(), 720 * 60);
  EXPECT_EQ(gaps[0].durationLabel(), "12h");
  EXPECT_EQ(gaps[0].timeLabels(), (std::pair<std::string, std::string>{"8:00 AM", "8:00 PM"}));
  EXPECT_EQ(CalendarGap::between(Date{0.5}, Date{784112400}).id, "0.5-784112400.0");
}

TEST_F(CalendarGapEngineTest, AnEmptyWindowHasNoOpenTimeAndNoEnds) {
  for (const auto& [start, end] : {std::pair{20, 8}, std::pair{9, 9}}) {
    EXPECT_TRUE(CalendarGapEngine::compute(saturday, {}, start, end, 15).empty());
    EXPECT_FALSE(CalendarGapEngine::endTime(at(10), saturday, {}, {}, start, end));
  }
}

TEST_F(CalendarGapEngineTest, TheWindowFollowsTheClockAcrossADaylightSavingChange) {
  // Clocks in New York skip from 2:00 to 3:00 on Sunday 8 March 2026.
  const CalendarDate sunday{2026, 3, 8};
  const auto gaps = CalendarGapEngine::compute(sunday, {}, 1, 4, 15);
  ASSERT_EQ(gaps.size(), 1u);
  EXPECT_EQ(gaps[0].duration(), 2 * 3600) << "1:00 EST to 4:00 EDT";
  EXPECT_EQ(gaps[0].durationLabel(), "2h");
  EXPECT_EQ(CalendarGapEngine::compute(sunday, {}, 8, 20, 15)[0].duration(), 12 * 3600);
}

TEST_F(CalendarGapEngineTest, AGapEndsAtTheNextBoundaryOfItsPartOfTheDay) {
  const std::vector<CalendarEvent> meeting{event(at(9, 30), at(11, 15))};
  const std::vector<CalendarEvent> afternoonEvent{event(at(14), at(15))};
  const std::vector<CalendarEvent> earlyEvent{event(at(7), at(7, 30))};
  const std::vector<CalendarEvent> allDay{event(at(0), at(0, 0, saturday.adding(1)), true)};
  const std::vector<Date> laterGap{at(15)};
  using enum TaskGapEndSource;
  const struct {
    const char* name;
    Date start;
    std::vector<CalendarEvent> events;
    std::vector<Date> otherGaps;
    TaskGapEnd end;
  } cases[] = {
      {"inside a meeting", at(10), meeting, {}, {at(11, 15), containingEvent}},
      {"at the meeting's end", at(11, 15), meeting, {}, {at(20), nextBoundary}},
      {"an event before the next gap", at(13), afternoonEvent, laterGap, {at(14), nextBoundary}},
      {"the next gap", at(13), {}, laterGap, {at(15), nextBoundary}},
      {"alone in the day", at(13), {}, {}, {at(20), nextBoundary}},
      {"before the day, an event before it too", at(6), earlyEvent, {}, {at(7), beforeDayStart}},
      {"before the day, nothing before it", at(6), afternoonEvent, {}, {std::nullopt, openEnded}},
      {"after the day", at(21), afternoonEvent, {}, {std::nullopt, openEnded}},
      {"after the day, a later gap", at(21), {}, {at(22)}, {at(22), afterDayEnd}},
      {"inside an all-day event", at(10), allDay, {}, {at(20), nextBoundary}},
      {"a meeting running past the evening", at(19), {event(at(18), at(23))}, {}, {at(23), containingEvent}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CalendarGapEngine::endTime(c.start, saturday, c.events, c.otherGaps, 8, 20), c.end) << c.name;
  }
}

TEST(TaskGapEndSource, ReadsOnlyItsOwnTexts) {
  using enum TaskGapEndSource;
  for (const auto source : {containingEvent, beforeDayStart, afterDayEnd, nextBoundary, openEnded}) {
    EXPECT_EQ(taskGapEndSource(taskGapEndSourceText(source)), source);
  }
  EXPECT_EQ(taskGapEndSourceText(beforeDayStart), "beforeDayStart");
  EXPECT_FALSE(taskGapEndSource("OpenEnded"));
  EXPECT_FALSE(taskGapEndSource(""));
}

TEST(CalendarGapPreferences, ZeroIsUnsetAndOldValuesMoveToTheSharedStore) {
  InMemoryPreferences standard;
  InMemoryPreferences shared;
  CalendarGapPreferences preferences(standard, &shared);
  EXPECT_EQ(preferences.dayStartHour(), 8);
  EXPECT_EQ(preferences.dayEndHour(), 20);
  EXPECT_EQ(preferences.minMinutes(), 15);

  standard.setValue(CalendarGapPreferences::dayEndHourKey, std::int64_t{18});
  EXPECT_EQ(preferences.dayEndHour(), 18);
  EXPECT_EQ(shared.integer(CalendarGapPreferences::dayEndHourKey), 18) << "copied on first read";

  preferences.setMinMinutes(0);
  EXPECT_EQ(preferences.minMinutes(), 15);
  preferences.setDayStartHour(6);
  EXPECT_EQ(standard.integer(CalendarGapPreferences::dayStartHourKey), 6);
  EXPECT_EQ(shared.integer(CalendarGapPreferences::dayStartHourKey), 6);
  shared.setValue(CalendarGapPreferences::dayStartHourKey, std::int64_t{7});
  EXPECT_EQ(preferences.dayStartHour(), 7) << "the shared store wins";

  CalendarGapPreferences withoutShared(standard, nullptr);
  EXPECT_EQ(withoutShared.dayStartHour(), 6);
}

} // namespace
} // namespace vantrel
