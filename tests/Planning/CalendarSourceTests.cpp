#include "VantrelCore/Planning/CalendarSource.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/InMemoryPreferences.hpp"
#include "tests/Support/InMemoryEventStore.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CalendarDate saturday{2026, 3, 7};

Date at(int hour, int minute = 0, const CalendarDate& day = saturday) {
  return *day.localTime(hour, minute);
}

std::vector<std::string> ids(const std::vector<CalendarEvent>& events) {
  std::vector<std::string> result;
  for (const auto& event : events) {
    result.push_back(event.id);
  }
  return result;
}

class CalendarSourceTest : public ::testing::Test {
protected:
  CalendarSourceTest() {
    store_.calendarList = {
        {.id = "work", .title = "Work", .sourceTitle = "Office", .color = RGBColor{1, 0, 0}},
        {.id = "home", .title = "Home"},
        {.id = "birthdays", .title = "Birthdays", .sourceTitle = "Office"},
    };
  }

  testing::ScopedDeviceSettings settings_{"America/New_York"};
  testing::InMemoryEventStore store_;
  InMemoryPreferences preferences_;
};

TEST_F(CalendarSourceTest, ADayHoldsTheEventsThatTouchIt) {
  store_.occurrences = {
      {.id = "overnight",
       .title = "Flight",
       .start = at(23, 0, saturday.adding(-1)),
       .end = at(1),
       .calendarId = "work"},
      {.id = "ends-at-midnight", .start = at(22, 0, saturday.adding(-1)), .end = at(0), .calendarId = "work"},
      {.id = "instant-at-midnight", .title = "Reminder", .start = at(0), .end = at(0), .calendarId = "home"},
      {.title = "no id", .start = at(9), .end = at(10), .calendarId = "home"},
      {.id = "all-day",
       .title = "Holiday",
       .start = at(0),
       .end = at(0, 0, saturday.adding(1)),
       .isAllDay = true,
       .calendarId = "home"},
  };
  CalendarSource source(store_, preferences_);
  const auto events = source.events(saturday);
  ASSERT_EQ(events.size(), 4u);
  EXPECT_EQ(events[0].id, "overnight");
  EXPECT_EQ(events[0].calendarName, "Work");
  EXPECT_EQ(events[0].calendarColorRGB, (RGBColor{1, 0, 0}));
  EXPECT_EQ(events[1].id, "instant-at-midnight");
  EXPECT_EQ(events[2].title, "no id");
  EXPECT_EQ(events[2].id.size(), 36u) << "a fresh UUID";
  EXPECT_EQ(events[3].id, "all-day");
  EXPECT_EQ(ids(source.events(saturday.adding(-1))),
            std::vector<std::string>({"overnight", "ends-at-midnight"}));

  store_.occurrences = {{.id = "untitled", .start = at(9), .end = at(10), .calendarId = "home"}};
  store_.signalChange();
  EXPECT_EQ(source.events(saturday).at(0).title, "(no title)");
  EXPECT_EQ(source.events(saturday).at(0), (CalendarEvent{.id = "untitled"})) << "events are equal by id";
}

TEST_F(CalendarSourceTest, ADayIsFetchedOnceUntilSomethingChanges) {
  store_.occurrences = {{.id = "meeting", .start = at(9), .end = at(10), .calendarId = "work"}};
  CalendarSource source(store_, preferences_);
  source.events(saturday);
  source.events(saturday);
  EXPECT_EQ(store_.queryCount, 1);

  store_.signalChange();
  EXPECT_EQ(source.eventsVersion(), 1);
  source.events(saturday);
  EXPECT_EQ(store_.queryCount, 2);

  source.setBlocklist({"work"});
  EXPECT_TRUE(source.events(saturday).empty());
  EXPECT_EQ(preferences_.stringArray(CalendarSource::blocklistKey), std::vector<std::string>{"work"});
  EXPECT_EQ(source.activeIdentifiers(), (std::set<std::string>{"birthdays", "home"}));
  EXPECT_EQ(CalendarSource(store_, preferences_).blocklist(), std::set<std::string>{"work"}) << "kept";

  const auto before = store_.queryCount;
  DeviceSettings::setTimeZone("Europe/Berlin");
  source.events(saturday);
  EXPECT_EQ(store_.queryCount, before + 1) << "a new zone cuts the days anew";
}

TEST_F(CalendarSourceTest, WithoutAccessThereAreNoEventsAndNothingIsFetched) {
  store_.occurrences = {{.id = "meeting", .start = at(9), .end = at(10), .calendarId = "work"}};
  const struct {
    EventStoreAuthorization status;
    CalendarSource::AuthState state;
  } cases[] = {
      {EventStoreAuthorization::notDetermined, CalendarSource::AuthState::unknown},
      {EventStoreAuthorization::denied, CalendarSource::AuthState::denied},
      {EventStoreAuthorization::restricted, CalendarSource::AuthState::denied},
      {EventStoreAuthorization::writeOnly, CalendarSource::AuthState::denied},
  };
  for (const auto& c : cases) {
    store_.status = c.status;
    CalendarSource source(store_, preferences_);
    EXPECT_EQ(source.authorization(), c.state);
    EXPECT_TRUE(source.events(saturday).empty());
  }
  EXPECT_EQ(store_.queryCount, 0);

  store_.status = EventStoreAuthorization::notDetermined;
  CalendarSource source(store_, preferences_);
  EXPECT_EQ(source.requestAccess(), CalendarSource::AuthState::granted);
  EXPECT_EQ(ids(source.events(saturday)), std::vector<std::string>{"meeting"});
  store_.status = EventStoreAuthorization::denied;
  source.refreshAuthorization();
  EXPECT_EQ(source.authorization(), CalendarSource::AuthState::denied);
}

TEST_F(CalendarSourceTest, CalendarsAreListedByAccountThenTitle) {
  CalendarSource source(store_, preferences_);
  const auto calendars = source.availableCalendars();
  ASSERT_EQ(calendars.size(), 3u);
  EXPECT_EQ(calendars[0], (CalendarSourceInfo{.id = "home", .title = "Home", .sourceTitle = "Local"}));
  EXPECT_EQ(calendars[1].id, "birthdays");
  EXPECT_EQ(calendars[2].id, "work");
}

TEST(CalendarEvent, DayDisplayOrderPutsAllDayFirstThenStartThenTitle) {
  std::vector<CalendarEvent> events{
      {.id = "b", .title = "B", .start = Date{100}},
      {.id = "a", .title = "A", .start = Date{100}},
      {.id = "early", .title = "Z", .start = Date{50}},
      {.id = "all-day", .title = "Holiday", .start = Date{200}, .isAllDay = true},
  };
  std::ranges::sort(events, CalendarEvent::dayDisplayOrder);
  EXPECT_EQ(ids(events), (std::vector<std::string>{"all-day", "early", "a", "b"}));
}

} // namespace
} // namespace vantrel
