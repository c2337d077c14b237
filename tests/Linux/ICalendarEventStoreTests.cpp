#include "Linux/ICalendarEventStore.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

/// `hour`:`minute` on the device clock.
Date local(int year, int month, int day, int hour = 0, int minute = 0) {
  return *CalendarDate{year, month, day}.localTime(hour, minute);
}

Date utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
  const std::chrono::sys_days days{std::chrono::year{year} / std::chrono::month{month} /
                                   std::chrono::day{day}};
  return Date::fromUnixSeconds(double(days.time_since_epoch().count()) * 86400 + hour * 3600 + minute * 60);
}

std::string iso(Date instant) {
  const auto seconds = std::time_t(instant.unixSeconds());
  std::tm fields{};
  ::gmtime_r(&seconds, &fields);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
  return text;
}

/// An occurrence as the tests compare it.
struct Seen {
  std::string title{};
  Date start{};
  Date end{};
  bool isAllDay{};

  friend bool operator==(const Seen&, const Seen&) = default;
};

void PrintTo(const Seen& seen, std::ostream* out) {
  *out << seen.title << " [" << iso(seen.start) << ", " << iso(seen.end) << ")"
       << (seen.isAllDay ? " all-day" : "");
}

std::vector<Seen> seen(const std::vector<EventStoreEvent>& events) {
  std::vector<Seen> result;
  for (const auto& event : events) {
    result.push_back(Seen{event.title.value_or("<none>"), event.start, event.end, event.isAllDay});
  }
  std::ranges::sort(result, [](const Seen& a, const Seen& b) {
    return std::tie(a.start, a.title) < std::tie(b.start, b.title);
  });
  return result;
}

std::string calendarText(std::string_view body, std::string_view header = "") {
  return "BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//Vantrel//Tests//EN\n" + std::string(header) +
         std::string(body) + "END:VCALENDAR\n";
}

std::string eventText(std::string_view uid, std::string_view summary, std::string_view lines) {
  return "BEGIN:VEVENT\nUID:" + std::string(uid) + "\nSUMMARY:" + std::string(summary) + "\n" +
         std::string(lines) + "END:VEVENT\n";
}

constexpr std::string_view berlinZone = R"(BEGIN:VTIMEZONE
TZID:Europe/Berlin
BEGIN:DAYLIGHT
TZOFFSETFROM:+0100
TZOFFSETTO:+0200
TZNAME:CEST
DTSTART:19700329T020000
RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU
END:DAYLIGHT
BEGIN:STANDARD
TZOFFSETFROM:+0200
TZOFFSETTO:+0100
TZNAME:CET
DTSTART:19701025T030000
RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU
END:STANDARD
END:VTIMEZONE
)";

/// A zone only the file knows, three hours ahead of UTC all year.
constexpr std::string_view olympusZone = R"(BEGIN:VTIMEZONE
TZID:Mars/Olympus
BEGIN:STANDARD
DTSTART:19700101T000000
TZOFFSETFROM:+0300
TZOFFSETTO:+0300
END:STANDARD
END:VTIMEZONE
)";

/// Drains `owner` until `done` holds, for a few seconds at most: inotify reports from another thread.
bool runUntil(ManualExecutor& owner, const std::function<bool()>& done) {
  for (int attempt = 0; attempt < 500; ++attempt) {
    owner.drain();
    if (done()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

class ICalendarEventStoreTest : public ::testing::Test {
protected:
  fs::path write(const fs::path& relative, std::string_view text) {
    const auto file = folder_.path() / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    return file;
  }
  /// One event in a file of its own, named after its UID, in `calendar`.
  void writeEvent(std::string_view calendar, std::string_view uid, std::string_view summary,
                  std::string_view lines, std::string_view zones = "") {
    write(fs::path(calendar) / (std::string(uid) + ".ics"),
          calendarText(std::string(zones) + eventText(uid, summary, lines)));
  }
  std::vector<Seen> eventsIn(Date from, Date to, const std::vector<std::string>& calendarIds = {"work"}) {
    return seen(store_.events(from, to, calendarIds));
  }
  std::vector<Seen> titled(std::string_view title, Date from, Date to) {
    auto found = eventsIn(from, to);
    std::erase_if(found, [&](const Seen& event) { return event.title != title; });
    return found;
  }

  testing::ScopedDeviceSettings settings_{"America/New_York"};
  testing::TemporaryFolder folder_;
  ManualExecutor owner_;
  ICalendarEventStore store_{folder_.path(), owner_};
};

TEST_F(ICalendarEventStoreTest, WeeklySeriesKeepsItsExclusionsAndOverriddenInstances) {
  // The overrides come first: a series is assembled whatever the order in the file.
  write("work/standup.ics", calendarText(R"(BEGIN:VEVENT
UID:standup
SUMMARY:Standup (moved)
RECURRENCE-ID;TZID=America/New_York:20260316T090000
DTSTART;TZID=America/New_York:20260317T140000
DTEND;TZID=America/New_York:20260317T150000
END:VEVENT
BEGIN:VEVENT
UID:standup
SUMMARY:Standup
RECURRENCE-ID;TZID=America/New_York:20260323T090000
DTSTART;TZID=America/New_York:20260323T090000
DTEND;TZID=America/New_York:20260323T093000
STATUS:CANCELLED
END:VEVENT
BEGIN:VEVENT
UID:standup
SUMMARY:Standup
DTSTART;TZID=America/New_York:20260302T090000
DTEND;TZID=America/New_York:20260302T093000
RRULE:FREQ=WEEKLY;COUNT=6
EXDATE;TZID=America/New_York:20260309T090000
END:VEVENT
)"));
  const Seen moved{"Standup (moved)", local(2026, 3, 17, 14), local(2026, 3, 17, 15)};
  const struct {
    const char* name;
    Date from;
    Date to;
    std::vector<Seen> expected;
  } cases[] = {
      {"the whole series, across the clock change",
       local(2026, 3, 1),
       local(2026, 4, 30),
       {{"Standup", local(2026, 3, 2, 9), local(2026, 3, 2, 9, 30)},
        moved,
        {"Standup", local(2026, 3, 30, 9), local(2026, 3, 30, 9, 30)},
        {"Standup", local(2026, 4, 6, 9), local(2026, 4, 6, 9, 30)}}},
      {"the excluded day", local(2026, 3, 9), local(2026, 3, 10), {}},
      {"the day the moved instance leaves", local(2026, 3, 16), local(2026, 3, 17), {}},
      {"the day it moves to", local(2026, 3, 17), local(2026, 3, 18), {moved}},
      {"the cancelled day", local(2026, 3, 23), local(2026, 3, 24), {}},
      {"after the count runs out", local(2026, 4, 7), local(2026, 6, 1), {}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    EXPECT_EQ(eventsIn(test.from, test.to), test.expected);
  }
  for (const auto& event :
       store_.events(local(2026, 3, 1), local(2026, 4, 30), std::vector<std::string>{"work"})) {
    EXPECT_EQ(event.id, "standup");
    EXPECT_EQ(event.calendarId, "work");
  }
}

TEST_F(ICalendarEventStoreTest, RecurrenceDatesAddOccurrences) {
  writeEvent("work", "review", "Review", R"(DTSTART:20260302T100000
DTEND:20260302T110000
RDATE:20260305T150000
RDATE:20260302T100000
RDATE;VALUE=PERIOD:20260310T080000/PT30M
RDATE:20260312T100000
EXDATE:20260312T100000
)");
  EXPECT_EQ(eventsIn(local(2026, 3, 1), local(2026, 4, 1)),
            (std::vector<Seen>{{"Review", local(2026, 3, 2, 10), local(2026, 3, 2, 11)},
                               {"Review", local(2026, 3, 5, 15), local(2026, 3, 5, 16)},
                               {"Review", local(2026, 3, 10, 8), local(2026, 3, 10, 8, 30)}}));
}

TEST_F(ICalendarEventStoreTest, TimesFollowTheirOwnZones) {
  const struct {
    const char* title;
    std::string_view zones;
    const char* lines;
    Date start;
    Date end;
  } cases[] = {
      {"zone of the file", berlinZone,
       "DTSTART;TZID=Europe/Berlin:20260710T150000\nDTEND;TZID=Europe/Berlin:20260710T160000\n",
       utc(2026, 7, 10, 13), utc(2026, 7, 10, 14)},
      {"zone only the file knows", olympusZone,
       "DTSTART;TZID=Mars/Olympus:20260710T150000\nDTEND;TZID=Mars/Olympus:20260710T160000\n",
       utc(2026, 7, 10, 12), utc(2026, 7, 10, 13)},
      {"zone the file does not carry", "",
       "DTSTART;TZID=Asia/Tokyo:20260710T090000\nDTEND;TZID=Asia/Tokyo:20260710T100000\n",
       utc(2026, 7, 10, 0), utc(2026, 7, 10, 1)},
      {"UTC", "", "DTSTART:20260710T160000Z\nDTEND:20260710T170000Z\n", utc(2026, 7, 10, 16),
       utc(2026, 7, 10, 17)},
      {"floating", "", "DTSTART:20260710T090000\nDTEND:20260710T100000\n", utc(2026, 7, 10, 13),
       utc(2026, 7, 10, 14)},
      {"start and end in different zones", berlinZone,
       "DTSTART;TZID=Europe/Berlin:20260710T150000\nDTEND:20260710T150000Z\n", utc(2026, 7, 10, 13),
       utc(2026, 7, 10, 15)},
  };
  int file = 0;
  for (const auto& test : cases) {
    writeEvent("work", "zone-" + std::to_string(file++), test.title, test.lines, test.zones);
  }
  for (const auto& test : cases) {
    SCOPED_TRACE(test.title);
    EXPECT_EQ(titled(test.title, utc(2026, 7, 9), utc(2026, 7, 12)),
              (std::vector<Seen>{{test.title, test.start, test.end}}));
  }
}

TEST_F(ICalendarEventStoreTest, SeriesRepeatsOnTheClockOfItsZone) {
  // Berlin moves its clocks on 29 March, New York already did on 8 March. UNTIL names the last start
  // exactly, in UTC.
  writeEvent("work", "berlin", "Berlin sync", R"(DTSTART;TZID=Europe/Berlin:20260316T090000
DTEND;TZID=Europe/Berlin:20260316T100000
RRULE:FREQ=WEEKLY;UNTIL=20260330T070000Z
)",
             berlinZone);
  EXPECT_EQ(eventsIn(utc(2026, 3, 1), utc(2026, 5, 1)),
            (std::vector<Seen>{{"Berlin sync", utc(2026, 3, 16, 8), utc(2026, 3, 16, 9)},
                               {"Berlin sync", utc(2026, 3, 23, 8), utc(2026, 3, 23, 9)},
                               {"Berlin sync", utc(2026, 3, 30, 7), utc(2026, 3, 30, 8)}}));
}

TEST_F(ICalendarEventStoreTest, AllDayEventsSpanWholeLocalDays) {
  const struct {
    const char* title;
    const char* lines;
    Date start;
    Date end;
  } cases[] = {
      {"one day", "DTSTART;VALUE=DATE:20260310\n", local(2026, 3, 10), local(2026, 3, 11)},
      {"three days", "DTSTART;VALUE=DATE:20260310\nDTEND;VALUE=DATE:20260313\n", local(2026, 3, 10),
       local(2026, 3, 13)},
      {"two days by duration", "DTSTART;VALUE=DATE:20260320\nDURATION:P2D\n", local(2026, 3, 20),
       local(2026, 3, 22)},
      {"the short day of the clock change", "DTSTART;VALUE=DATE:20260308\n", local(2026, 3, 8),
       local(2026, 3, 9)},
  };
  int file = 0;
  for (const auto& test : cases) {
    writeEvent("work", "day-" + std::to_string(file++), test.title, test.lines);
  }
  for (const auto& test : cases) {
    SCOPED_TRACE(test.title);
    EXPECT_EQ(titled(test.title, local(2026, 3, 1), local(2026, 4, 1)),
              (std::vector<Seen>{{test.title, test.start, test.end, true}}));
  }
  EXPECT_EQ(eventsIn(local(2026, 3, 12), local(2026, 3, 13)),
            (std::vector<Seen>{{"three days", local(2026, 3, 10), local(2026, 3, 13), true}}));

  writeEvent("work", "birthday", "Birthday", "DTSTART;VALUE=DATE:20200315\nRRULE:FREQ=YEARLY\n");
  EXPECT_EQ(eventsIn(local(2030, 3, 1), local(2030, 4, 1)),
            (std::vector<Seen>{{"Birthday", local(2030, 3, 15), local(2030, 3, 16), true}}));
}

TEST_F(ICalendarEventStoreTest, TimedEventsTakeTheirLengthFromEndOrDuration) {
  const struct {
    const char* title;
    const char* lines;
    Date end;
  } cases[] = {
      {"by end", "DTSTART:20260307T120000\nDTEND:20260307T133000\n", local(2026, 3, 7, 13, 30)},
      {"by duration", "DTSTART:20260307T120000\nDURATION:PT45M\n", local(2026, 3, 7, 12, 45)},
      {"no length", "DTSTART:20260307T120000\n", local(2026, 3, 7, 12)},
      {"a calendar day across the clock change", "DTSTART:20260307T120000\nDURATION:P1D\n",
       local(2026, 3, 8, 12)},
      {"24 hours across the clock change", "DTSTART:20260307T120000\nDURATION:PT24H\n",
       local(2026, 3, 8, 13)},
  };
  int file = 0;
  for (const auto& test : cases) {
    writeEvent("work", "length-" + std::to_string(file++), test.title, test.lines);
  }
  for (const auto& test : cases) {
    SCOPED_TRACE(test.title);
    EXPECT_EQ(titled(test.title, local(2026, 3, 1), local(2026, 4, 1)),
              (std::vector<Seen>{{test.title, local(2026, 3, 7, 12), test.end}}));
  }
}

TEST_F(ICalendarEventStoreTest, OccurrencesCountWhenTheyOverlapTheInterval) {
  writeEvent("work", "overnight", "overnight", "DTSTART:20260410T220000\nDTEND:20260411T020000\n");
  writeEvent("work", "instant", "instant", "DTSTART:20260412T000000\n");
  writeEvent("work", "ends-at-midnight", "ends at midnight",
             "DTSTART:20260412T220000\nDTEND:20260413T000000\n");
  writeEvent("work", "starts-at-midnight", "starts at midnight",
             "DTSTART:20260414T000000\nDTEND:20260414T010000\n");
  const struct {
    const char* title;
    int day;
    bool included;
  } cases[] = {
      {"overnight", 10, true},
      {"overnight", 11, true},
      {"overnight", 12, false},
      {"instant", 11, false},
      {"instant", 12, true},
      {"ends at midnight", 12, true},
      {"ends at midnight", 13, false},
      {"starts at midnight", 13, false},
      {"starts at midnight", 14, true},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(std::string(test.title) + " on day " + std::to_string(test.day));
    EXPECT_EQ(titled(test.title, local(2026, 4, test.day), local(2026, 4, test.day + 1)).size(),
              test.included ? 1u : 0u);
  }
}

TEST_F(ICalendarEventStoreTest, DayByDayQueriesFindWhatOneLongQueryFinds) {
  const struct {
    const char* rule;
    Date from;
    int days;
  } cases[] = {
      {"FREQ=WEEKLY;BYDAY=MO,TH", local(2026, 1, 1), 120},
      {"FREQ=WEEKLY;INTERVAL=2;BYDAY=TU", local(2026, 2, 1), 90},
      {"FREQ=MONTHLY;BYDAY=-1FR", local(2026, 1, 1), 200},
      {"FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=5,20", local(2026, 1, 1), 200},
      {"FREQ=DAILY;INTERVAL=3", local(2026, 2, 20), 40},
      {"FREQ=HOURLY;INTERVAL=7", local(2026, 3, 1), 20},
      {"FREQ=MINUTELY;INTERVAL=500", local(2026, 3, 5), 10},
      {"FREQ=WEEKLY;COUNT=10", local(2026, 1, 1), 90},
      {"FREQ=YEARLY;BYMONTH=1,4;BYDAY=1MO", local(2027, 1, 1), 120},
      {"FREQ=WEEKLY", local(2030, 11, 1), 60},
  };
  int file = 0;
  for (const auto& test : cases) {
    SCOPED_TRACE(test.rule);
    const std::string uid = "series-" + std::to_string(file++);
    writeEvent("work", uid, "Series",
               std::string("DTSTART:20260105T093000\nDTEND:20260105T101500\nRRULE:") + test.rule + "\n");
    const Date to = test.from.adding(test.days * 86400.0);
    // The reference expands from the first occurrence on.
    auto expected = eventsIn(local(2026, 1, 1), to);
    std::erase_if(expected, [&](const Seen& event) { return event.end <= test.from; });
    ASSERT_FALSE(expected.empty());
    std::vector<Seen> byDay;
    for (Date day = test.from; day < to; day = day.adding(86400)) {
      for (const auto& event : eventsIn(day, day.adding(86400))) {
        if (std::ranges::find(byDay, event) == byDay.end()) {
          byDay.push_back(event);
        }
      }
    }
    std::ranges::sort(byDay, {}, &Seen::start);
    EXPECT_EQ(byDay, expected);
    fs::remove(folder_.path() / "work" / (uid + ".ics"));
  }
}

TEST_F(ICalendarEventStoreTest, CalendarsComeFromFoldersAndTheirMetadata) {
  write("work/displayname", "  Work stuff \n");
  write("work/color", "#FF8000\n");
  write("home/color", "#00FF0080");
  fs::create_directories(folder_.path() / "plain");
  write("odd/displayname", "\n");
  write("odd/color", "orange\n");
  fs::create_directories(folder_.path() / ".hidden");
  write("notes.txt", "not a calendar");
  EXPECT_EQ(store_.calendars(),
            (std::vector<EventStoreCalendar>{
                {.id = "home", .title = "home", .color = RGBColor{0, 1, 0}},
                {.id = "odd", .title = "odd"},
                {.id = "plain", .title = "plain"},
                {.id = "work", .title = "Work stuff", .color = RGBColor{1, 128.0 / 255, 0}},
            }));
}

TEST_F(ICalendarEventStoreTest, ASingleFileIsOneCalendar) {
  const struct {
    const char* fileName;
    const char* header;
    const char* title;
  } cases[] = {
      {"Family.ics", "X-WR-CALNAME:Family Calendar\n", "Family Calendar"},
      {"family.ics", "", "family"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.fileName);
    testing::TemporaryFolder folder;
    const auto file = folder.path() / test.fileName;
    std::ofstream(file) << calendarText(eventText("picnic", "Picnic", "DTSTART:20260501T120000\n"),
                                        test.header);
    ICalendarEventStore store(file, owner_);
    EXPECT_EQ(store.calendars(),
              (std::vector<EventStoreCalendar>{{.id = test.fileName, .title = test.title}}));
    const auto events =
        store.events(local(2026, 5, 1), local(2026, 5, 2), std::vector<std::string>{test.fileName});
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].title, "Picnic");
    EXPECT_EQ(events[0].calendarId, test.fileName);
    EXPECT_TRUE(
        store.events(local(2026, 5, 1), local(2026, 5, 2), std::vector<std::string>{"other"}).empty());
  }
}

TEST_F(ICalendarEventStoreTest, EventsComeOnlyFromTheListedCalendars) {
  writeEvent("work", "task", "Work thing", "DTSTART:20260501T120000\n");
  writeEvent("home", "chore", "Home thing", "DTSTART:20260501T120000\n");
  const struct {
    std::vector<std::string> calendarIds;
    std::vector<std::pair<std::string, std::string>> expected;
  } cases[] = {
      {{"work"}, {{"Work thing", "work"}}},
      {{"home", "work"}, {{"Home thing", "home"}, {"Work thing", "work"}}},
      {{}, {}},
      {{"nope", "../work", ".."}, {}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(::testing::PrintToString(test.calendarIds));
    std::vector<std::pair<std::string, std::string>> found;
    for (const auto& event : store_.events(local(2026, 5, 1), local(2026, 5, 2), test.calendarIds)) {
      found.emplace_back(event.title.value_or(""), event.calendarId);
    }
    std::ranges::sort(found);
    EXPECT_EQ(found, test.expected);
  }
}

TEST_F(ICalendarEventStoreTest, WhatCannotBeReadIsSkipped) {
  testing::ScopedLogCapture log;
  const auto garbage = write("work/garbage.ics", "this is not a calendar\n");
  const auto empty = write("work/empty.ics", "");
  writeEvent("work", "no-start", "No start", "DTEND:20260501T120000\n");
  writeEvent("work", "bad-end", "Bad end", "DTSTART:20260501T090000\nDTEND:garbage\nRRULE:FREQ=SOMETIMES\n");
  writeEvent("work", "good", "Good", "DTSTART:20260501T100000\nDTEND:20260501T110000\n");
  std::vector<Seen> found;
  ASSERT_NO_THROW(found = eventsIn(local(2026, 5, 1), local(2026, 5, 2)));
  EXPECT_EQ(found, (std::vector<Seen>{{"Bad end", local(2026, 5, 1, 9), local(2026, 5, 1, 9)},
                                      {"Good", local(2026, 5, 1, 10), local(2026, 5, 1, 11)}}));
  for (const auto& file : {garbage, empty}) {
    EXPECT_TRUE(log.contains("Skipping calendar file " + file.string() + ": it holds no iCalendar data"));
  }
}

TEST_F(ICalendarEventStoreTest, AuthorizationFollowsTheLocation) {
  write("one.ics", calendarText(""));
  const struct {
    const char* name;
    std::optional<fs::path> location;
    EventStoreAuthorization expected;
  } cases[] = {
      {"no location", std::nullopt, EventStoreAuthorization::notDetermined},
      {"missing path", folder_.path() / "missing", EventStoreAuthorization::denied},
      {"readable folder", folder_.path(), EventStoreAuthorization::fullAccess},
      {"readable file", folder_.path() / "one.ics", EventStoreAuthorization::fullAccess},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    ICalendarEventStore store(test.location, owner_);
    EXPECT_EQ(store.authorizationStatus(), test.expected);
    EXPECT_EQ(store.requestFullAccess(), test.expected);
  }
}

TEST_F(ICalendarEventStoreTest, AFolderItMayNotReadIsDenied) {
  if (::geteuid() == 0) {
    GTEST_SKIP() << "root reads every folder";
  }
  const auto locked = folder_.path() / "locked";
  fs::create_directories(locked);
  fs::permissions(locked, fs::perms::none);
  ICalendarEventStore store(locked, owner_);
  EXPECT_EQ(store.authorizationStatus(), EventStoreAuthorization::denied);
  fs::permissions(locked, fs::perms::owner_all);
}

TEST_F(ICalendarEventStoreTest, AFileIsReadAgainOnlyOnceItChanges) {
  writeEvent("work", "a", "Alpha", "DTSTART:20260501T100000\n");
  const Date from = local(2026, 5, 1);
  const Date to = local(2026, 5, 2);
  ASSERT_EQ(eventsIn(from, to).at(0).title, "Alpha");

  // Same size, same time, same file: nothing tells it changed, so the parsed copy stands.
  const auto file = folder_.path() / "work" / "a.ics";
  const auto modified = fs::last_write_time(file);
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary)
      << calendarText(eventText("a", "Bravo", "DTSTART:20260501T100000\n"));
  fs::last_write_time(file, modified);
  EXPECT_EQ(eventsIn(from, to).at(0).title, "Alpha");

  fs::last_write_time(file, modified + std::chrono::seconds(1));
  EXPECT_EQ(eventsIn(from, to).at(0).title, "Bravo");

  writeEvent("work", "a", "Charlie, now longer", "DTSTART:20260501T100000\n");
  EXPECT_EQ(eventsIn(from, to).at(0).title, "Charlie, now longer");

  fs::remove(file);
  EXPECT_TRUE(eventsIn(from, to).empty());
}

TEST_F(ICalendarEventStoreTest, ANewFileIsReportedAndRead) {
  fs::create_directories(folder_.path() / "work");
  int calls = 0;
  const auto observation = store_.observeChanges([&] { ++calls; });
  writeEvent("work", "new", "New", "DTSTART:20260501T100000\n");
  ASSERT_TRUE(runUntil(owner_, [&] { return calls > 0; }));
  EXPECT_EQ(eventsIn(local(2026, 5, 1), local(2026, 5, 2)),
            (std::vector<Seen>{{"New", local(2026, 5, 1, 10), local(2026, 5, 1, 10)}}));
}

TEST_F(ICalendarEventStoreTest, AReportDropsTheParsedCopyOfWhatChanged) {
  writeEvent("work", "a", "Alpha", "DTSTART:20260501T100000\n");
  ASSERT_EQ(eventsIn(local(2026, 5, 1), local(2026, 5, 2)).at(0).title, "Alpha");
  int calls = 0;
  const auto observation = store_.observeChanges([&] { ++calls; });

  // A rewrite that leaves size and time as they were: only the report tells.
  const auto file = folder_.path() / "work" / "a.ics";
  const auto modified = fs::last_write_time(file);
  writeEvent("work", "a", "Bravo", "DTSTART:20260501T100000\n");
  fs::last_write_time(file, modified);
  ASSERT_TRUE(runUntil(owner_, [&] { return calls > 0; }));
  EXPECT_EQ(eventsIn(local(2026, 5, 1), local(2026, 5, 2)).at(0).title, "Bravo");
}

TEST_F(ICalendarEventStoreTest, ANewCalendarFolderIsWatchedToo) {
  int calls = 0;
  const auto observation = store_.observeChanges([&] { ++calls; });
  fs::create_directories(folder_.path() / "work");
  ASSERT_TRUE(runUntil(owner_, [&] { return calls >= 1; }));
  writeEvent("work", "new", "New", "DTSTART:20260501T100000\n");
  EXPECT_TRUE(runUntil(owner_, [&] { return calls >= 2; }));
}

TEST_F(ICalendarEventStoreTest, AnEndedObservationIsNotCalled) {
  fs::create_directories(folder_.path() / "work");
  int ended = 0;
  int kept = 0;
  auto endedObservation = store_.observeChanges([&] { ++ended; });
  const auto keptObservation = store_.observeChanges([&] { ++kept; });
  endedObservation.reset();
  write("work/displayname", "Work");
  ASSERT_TRUE(runUntil(owner_, [&] { return kept > 0; }));
  EXPECT_EQ(ended, 0);
}

TEST_F(ICalendarEventStoreTest, ASingleCalendarFileReplacedByRenameIsReported) {
  const auto file = write("family.ics", calendarText(eventText("old", "Old", "DTSTART:20260501T100000\n")));
  ICalendarEventStore store(file, owner_);
  int calls = 0;
  const auto observation = store.observeChanges([&] { ++calls; });
  ASSERT_EQ(store.events(local(2026, 5, 1), local(2026, 5, 2), std::vector<std::string>{"family.ics"}).size(),
            1u);

  const auto temporary =
      write(".family.ics.tmp", calendarText(eventText("new", "New", "DTSTART:20260501T100000\n")));
  fs::rename(temporary, file);
  ASSERT_TRUE(runUntil(owner_, [&] { return calls > 0; }));
  const auto events =
      store.events(local(2026, 5, 1), local(2026, 5, 2), std::vector<std::string>{"family.ics"});
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].id, "new");
}

TEST_F(ICalendarEventStoreTest, AReportArrivingAfterTheStoreIsGoneDoesNothing) {
  fs::create_directories(folder_.path() / "work");
  auto store = std::make_unique<ICalendarEventStore>(folder_.path(), owner_);
  int calls = 0;
  const auto observation = store->observeChanges([&] { ++calls; });
  writeEvent("work", "new", "New", "DTSTART:20260501T100000\n");
  bool posted = false;
  for (int attempt = 0; attempt < 500 && !posted; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    posted = owner_.pendingCount() > 0;
  }
  ASSERT_TRUE(posted);
  store.reset();
  owner_.drain();
  EXPECT_EQ(calls, 0);
}

} // namespace
} // namespace vantrel
