#include "Linux/ICalendarEventStore.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"
#include "tests/Support/HostileInputs.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
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

/// Mexico City as it was before 2022, with daylight time: a file's own definition is honoured as written.
constexpr std::string_view oldMexicoZone = R"(BEGIN:VTIMEZONE
TZID:America/Mexico_City
BEGIN:DAYLIGHT
TZOFFSETFROM:-0600
TZOFFSETTO:-0500
DTSTART:19700405T020000
RRULE:FREQ=YEARLY;BYMONTH=4;BYDAY=1SU
END:DAYLIGHT
BEGIN:STANDARD
TZOFFSETFROM:-0500
TZOFFSETTO:-0600
DTSTART:19701025T020000
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

/// What `store` holds in `calendar` on 1 May 2026, the day most single events here fall on.
std::vector<EventStoreEvent> onMayFirst(const ICalendarEventStore& store, const std::string& calendar) {
  return store.events(local(2026, 5, 1), local(2026, 5, 2), std::vector<std::string>{calendar});
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
      // Mexico ended daylight time in 2022; libical's and ICU's own rules still keep it.
      {"zone whose rules changed", "",
       "DTSTART;TZID=America/Mexico_City:20260710T090000\nDTEND;TZID=America/Mexico_City:20260710T100000\n",
       utc(2026, 7, 10, 15), utc(2026, 7, 10, 16)},
      {"zone the file defines its own way", oldMexicoZone,
       "DTSTART;TZID=America/Mexico_City:20260710T090000\nDTEND;TZID=America/Mexico_City:20260710T100000\n",
       utc(2026, 7, 10, 14), utc(2026, 7, 10, 15)},
      {"zone behind a prefix", "",
       "DTSTART;TZID=/citadel.org/20190101_1/Africa/Cairo:20260710T090000\n"
       "DTEND;TZID=/citadel.org/20190101_1/Africa/Cairo:20260710T100000\n",
       utc(2026, 7, 10, 6), utc(2026, 7, 10, 7)},
      {"UTC", "", "DTSTART:20260710T160000Z\nDTEND:20260710T170000Z\n", utc(2026, 7, 10, 16),
       utc(2026, 7, 10, 17)},
      {"floating", "", "DTSTART:20260710T090000\nDTEND:20260710T100000\n", utc(2026, 7, 10, 13),
       utc(2026, 7, 10, 14)},
      {"start and end in different zones", berlinZone,
       "DTSTART;TZID=Europe/Berlin:20260710T150000\nDTEND:20260710T150000Z\n", utc(2026, 7, 10, 13),
       utc(2026, 7, 10, 15)},
  };
  for (const auto& test : cases) {
    writeEvent("work", test.title, test.title, test.lines, test.zones);
  }
  for (const auto& test : cases) {
    SCOPED_TRACE(test.title);
    EXPECT_EQ(titled(test.title, utc(2026, 7, 9), utc(2026, 7, 12)),
              (std::vector<Seen>{{test.title, test.start, test.end}}));
  }
}

TEST_F(ICalendarEventStoreTest, SeriesTakeTheirDatesAndRepeatOnTheClockOfTheirZone) {
  // Each in a calendar of its own. Each UNTIL names its series' last start exactly, in UTC.
  const struct {
    const char* title;
    const char* lines;
    std::string_view zones;
    std::vector<Seen> expected;
  } cases[] = {
      {"Review",
       "DTSTART:20260302T100000\nDTEND:20260302T110000\nRDATE:20260305T150000\nRDATE:20260302T100000\n"
       "RDATE;VALUE=PERIOD:20260310T080000/PT30M\nRDATE:20260312T100000\nEXDATE:20260312T100000\n",
       "",
       {{"Review", local(2026, 3, 2, 10), local(2026, 3, 2, 11)},
        {"Review", local(2026, 3, 5, 15), local(2026, 3, 5, 16)},
        {"Review", local(2026, 3, 10, 8), local(2026, 3, 10, 8, 30)}}},
      // Berlin moves its clocks on 29 March, New York already did on 8 March.
      {"Berlin sync",
       "DTSTART;TZID=Europe/Berlin:20260316T090000\nDTEND;TZID=Europe/Berlin:20260316T100000\n"
       "RRULE:FREQ=WEEKLY;UNTIL=20260330T070000Z\n",
       berlinZone,
       {{"Berlin sync", utc(2026, 3, 16, 8), utc(2026, 3, 16, 9)},
        {"Berlin sync", utc(2026, 3, 23, 8), utc(2026, 3, 23, 9)},
        {"Berlin sync", utc(2026, 3, 30, 7), utc(2026, 3, 30, 8)}}},
      // Cairo moves its clocks on the last Friday of April; the rule is read against the stand-in libical
      // carries for a zone of the system's database.
      {"Cairo sync",
       "DTSTART;TZID=Africa/Cairo:20260417T090000\nDTEND;TZID=Africa/Cairo:20260417T100000\n"
       "RRULE:FREQ=WEEKLY;UNTIL=20260501T060000Z\n",
       "",
       {{"Cairo sync", utc(2026, 4, 17, 7), utc(2026, 4, 17, 8)},
        {"Cairo sync", utc(2026, 4, 24, 6), utc(2026, 4, 24, 7)},
        {"Cairo sync", utc(2026, 5, 1, 6), utc(2026, 5, 1, 7)}}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.title);
    writeEvent(test.title, test.title, test.title, test.lines, test.zones);
    EXPECT_EQ(eventsIn(utc(2026, 3, 1), utc(2026, 6, 1), {test.title}), test.expected);
  }
}

TEST_F(ICalendarEventStoreTest, EventsTakeTheirLengthFromEndOrDurationAndAllDayOnesWholeLocalDays) {
  const struct {
    const char* title;
    const char* lines;
    Date start;
    Date end;
    bool isAllDay;
  } cases[] = {
      {"by end", "DTSTART:20260307T120000\nDTEND:20260307T133000\n", local(2026, 3, 7, 12),
       local(2026, 3, 7, 13, 30), false},
      {"by duration", "DTSTART:20260307T120000\nDURATION:PT45M\n", local(2026, 3, 7, 12),
       local(2026, 3, 7, 12, 45), false},
      {"no length", "DTSTART:20260307T120000\n", local(2026, 3, 7, 12), local(2026, 3, 7, 12), false},
      {"a calendar day across the clock change", "DTSTART:20260307T120000\nDURATION:P1D\n",
       local(2026, 3, 7, 12), local(2026, 3, 8, 12), false},
      {"24 hours across the clock change", "DTSTART:20260307T120000\nDURATION:PT24H\n", local(2026, 3, 7, 12),
       local(2026, 3, 8, 13), false},
      {"one day", "DTSTART;VALUE=DATE:20260310\n", local(2026, 3, 10), local(2026, 3, 11), true},
      {"three days", "DTSTART;VALUE=DATE:20260310\nDTEND;VALUE=DATE:20260313\n", local(2026, 3, 10),
       local(2026, 3, 13), true},
      {"two days by duration", "DTSTART;VALUE=DATE:20260320\nDURATION:P2D\n", local(2026, 3, 20),
       local(2026, 3, 22), true},
      {"the short day of the clock change", "DTSTART;VALUE=DATE:20260308\n", local(2026, 3, 8),
       local(2026, 3, 9), true},
  };
  for (const auto& test : cases) {
    writeEvent("work", test.title, test.title, test.lines);
  }
  for (const auto& test : cases) {
    SCOPED_TRACE(test.title);
    EXPECT_EQ(titled(test.title, local(2026, 3, 1), local(2026, 4, 1)),
              (std::vector<Seen>{{test.title, test.start, test.end, test.isAllDay}}));
  }
  EXPECT_EQ(eventsIn(local(2026, 3, 12), local(2026, 3, 13)),
            (std::vector<Seen>{{"three days", local(2026, 3, 10), local(2026, 3, 13), true}}));

  writeEvent("work", "birthday", "Birthday", "DTSTART;VALUE=DATE:20200315\nRRULE:FREQ=YEARLY\n");
  EXPECT_EQ(eventsIn(local(2030, 3, 1), local(2030, 4, 1)),
            (std::vector<Seen>{{"Birthday", local(2030, 3, 15), local(2030, 3, 16), true}}));
}

TEST_F(ICalendarEventStoreTest, OccurrencesCountWhenTheyOverlapTheInterval) {
  // Each shows on the April days from `first` to `last`, and on no other day from the 10th to the 14th.
  const struct {
    const char* title;
    const char* lines;
    int first;
    int last;
  } cases[] = {
      {"overnight", "DTSTART:20260410T220000\nDTEND:20260411T020000\n", 10, 11},
      {"instant", "DTSTART:20260412T000000\n", 12, 12},
      {"ends at midnight", "DTSTART:20260412T220000\nDTEND:20260413T000000\n", 12, 12},
      {"starts at midnight", "DTSTART:20260414T000000\nDTEND:20260414T010000\n", 14, 14},
  };
  for (const auto& test : cases) {
    writeEvent("work", test.title, test.title, test.lines);
  }
  for (const auto& test : cases) {
    for (int day = 10; day <= 14; ++day) {
      SCOPED_TRACE(std::string(test.title) + " on day " + std::to_string(day));
      EXPECT_EQ(titled(test.title, local(2026, 4, day), local(2026, 4, day + 1)).size(),
                day >= test.first && day <= test.last ? 1u : 0u);
    }
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
      {"FREQ=MONTHLY;COUNT=5", local(2026, 1, 1), 200},
      {"FREQ=HOURLY;INTERVAL=5;COUNT=40", local(2026, 1, 4), 12},
      {"FREQ=MONTHLY;BYMONTHDAY=5,20;COUNT=7", local(2026, 1, 1), 150},
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

TEST_F(ICalendarEventStoreTest, CalendarsAreFoldersAndEventsComeOnlyFromTheListedOnes) {
  write("work/displayname", "  Work stuff \n");
  write("work/color", "#FF8000\n");
  write("home/color", "#00FF0080");
  fs::create_directories(folder_.path() / "plain");
  write("odd/displayname", "\n");
  write("odd/color", "orange\n");
  fs::create_directories(folder_.path() / ".hidden");
  write("notes.txt", "not a calendar");
  writeEvent("work", "task", "Work thing", "DTSTART:20260501T120000\n");
  writeEvent("home", "chore", "Home thing", "DTSTART:20260501T120000\n");
  EXPECT_EQ(store_.calendars(),
            (std::vector<EventStoreCalendar>{
                {.id = "home", .title = "home", .color = RGBColor{0, 1, 0}},
                {.id = "odd", .title = "odd"},
                {.id = "plain", .title = "plain"},
                {.id = "work", .title = "Work stuff", .color = RGBColor{1, 128.0 / 255, 0}},
            }));

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

TEST_F(ICalendarEventStoreTest, ASingleFileIsOneCalendarAndItsReplacementIsReported) {
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
    const auto file = write(
        test.fileName, calendarText(eventText("picnic", "Picnic", "DTSTART:20260501T120000\n"), test.header));
    ICalendarEventStore store(file, owner_);
    EXPECT_EQ(store.calendars(),
              (std::vector<EventStoreCalendar>{{.id = test.fileName, .title = test.title}}));
    auto events = onMayFirst(store, test.fileName);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].title, "Picnic");
    EXPECT_EQ(events[0].calendarId, test.fileName);
    EXPECT_TRUE(onMayFirst(store, "other").empty());

    // Editors save through a temporary file renamed over the old one.
    int calls = 0;
    const auto observation = store.observeChanges([&] { ++calls; });
    fs::rename(write("." + std::string(test.fileName) + ".tmp",
                     calendarText(eventText("new", "New", "DTSTART:20260501T100000\n"))),
               file);
    ASSERT_TRUE(runUntil(owner_, [&] { return calls > 0; }));
    events = onMayFirst(store, test.fileName);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].id, "new");
  }
}

TEST_F(ICalendarEventStoreTest, WhatCannotBeReadIsSkipped) {
  testing::ScopedLogCapture log;
  const auto garbage = write("work/garbage.ics", "this is not a calendar\n");
  const auto empty = write("work/empty.ics", "");
  writeEvent("work", "no-start", "No start", "DTEND:20260501T120000\n");
  writeEvent("work", "bad-end", "Bad end", "DTSTART:20260501T090000\nDTEND:garbage\nRRULE:FREQ=SOMETIMES\n");
  writeEvent("work", "good", "Good", "DTSTART:20260501T100000\nDTEND:20260501T110000\n");
  // The database's "right/" zones count leap seconds, which the planner cannot read.
  writeEvent("work", "leap", "Leap", "DTSTART;TZID=right/UTC:20260501T100000\n");
  std::vector<Seen> found;
  ASSERT_NO_THROW(found = eventsIn(local(2026, 5, 1), local(2026, 5, 2)));
  EXPECT_EQ(found, (std::vector<Seen>{{"Bad end", local(2026, 5, 1, 9), local(2026, 5, 1, 9)},
                                      {"Good", local(2026, 5, 1, 10), local(2026, 5, 1, 11)}}));
  for (const auto& file : {garbage, empty}) {
    EXPECT_TRUE(log.contains("Skipping calendar file " + file.string() + ": it holds no iCalendar data"));
  }
  EXPECT_TRUE(log.contains("Skipping calendar file " + (folder_.path() / "work/leap.ics").string() +
                           ": time zone 'right/UTC' cannot be read: " +
                           (TimeZoneDatabase::system().directory() / "right/UTC").string() +
                           " counts leap seconds, which the planner's clock does not"));
}

TEST_F(ICalendarEventStoreTest, AuthorizationFollowsTheLocation) {
  write("one.ics", calendarText(""));
  const auto locked = folder_.path() / "locked";
  fs::create_directories(locked);
  fs::permissions(locked, fs::perms::none);
  const struct {
    const char* name;
    std::optional<fs::path> location;
    EventStoreAuthorization expected;
  } cases[] = {
      {"no location", std::nullopt, EventStoreAuthorization::notDetermined},
      {"missing path", folder_.path() / "missing", EventStoreAuthorization::denied},
      {"readable folder", folder_.path(), EventStoreAuthorization::fullAccess},
      {"readable file", folder_.path() / "one.ics", EventStoreAuthorization::fullAccess},
      // Root reads every folder.
      {"folder it may not read", locked,
       ::geteuid() == 0 ? EventStoreAuthorization::fullAccess : EventStoreAuthorization::denied},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    ICalendarEventStore store(test.location, owner_);
    EXPECT_EQ(store.authorizationStatus(), test.expected);
    EXPECT_EQ(store.requestFullAccess(), test.expected);
  }
  fs::permissions(locked, fs::perms::owner_all);
}

TEST_F(ICalendarEventStoreTest, AFileIsReadAgainOnceItChangesOrIsReportedChanged) {
  writeEvent("work", "a", "Alpha", "DTSTART:20260501T100000\n");
  const auto file = folder_.path() / "work" / "a.ics";
  const auto title = [&] { return eventsIn(local(2026, 5, 1), local(2026, 5, 2)).at(0).title; };
  // Same size, same time, same file: nothing tells it changed.
  const auto rewriteInPlace = [&](std::string_view summary) {
    const auto modified = fs::last_write_time(file);
    std::fstream(file, std::ios::in | std::ios::out | std::ios::binary)
        << calendarText(eventText("a", summary, "DTSTART:20260501T100000\n"));
    fs::last_write_time(file, modified);
  };
  ASSERT_EQ(title(), "Alpha");
  // The parsed copy stands until the file's time or size moves.
  rewriteInPlace("Bravo");
  EXPECT_EQ(title(), "Alpha");
  fs::last_write_time(file, fs::last_write_time(file) + std::chrono::seconds(1));
  EXPECT_EQ(title(), "Bravo");
  writeEvent("work", "a", "Charlie", "DTSTART:20260501T100000\n");
  EXPECT_EQ(title(), "Charlie");

  // Then only a report tells of a rewrite in place. Each step below is one burst of changes: one report.
  int calls = 0;
  int ended = 0;
  auto endedObservation = store_.observeChanges([&] { ++ended; });
  const auto observation = store_.observeChanges([&] { ++calls; });
  endedObservation.reset();
  const auto reported = [&](const std::function<void()>& change) {
    const int before = calls;
    change();
    return runUntil(owner_, [&] { return calls > before; });
  };
  ASSERT_TRUE(reported([&] { rewriteInPlace("Foxtrot"); }));
  EXPECT_EQ(title(), "Foxtrot");

  ASSERT_TRUE(reported([&] { writeEvent("work", "new", "New", "DTSTART:20260502T100000\n"); }));
  EXPECT_EQ(eventsIn(local(2026, 5, 2), local(2026, 5, 3)),
            (std::vector<Seen>{{"New", local(2026, 5, 2, 10), local(2026, 5, 2, 10)}}));
  EXPECT_TRUE(reported([&] { write("work/displayname", "Work"); }));
  EXPECT_TRUE(reported([&] { fs::create_directories(folder_.path() / "home"); }));
  EXPECT_TRUE(reported([&] { writeEvent("home", "new", "New", "DTSTART:20260501T100000\n"); }));
  EXPECT_TRUE(reported([&] { fs::remove(file); }));
  EXPECT_TRUE(eventsIn(local(2026, 5, 1), local(2026, 5, 2)).empty());
  EXPECT_EQ(ended, 0);
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

/// Limits small enough that the hostile cases below reach them quickly.
constexpr ICalendarEventStore::Limits smallLimits{
    .largestFile = 2048, .mostFilesPerCalendar = 8, .mostStepsPerRule = 1000};

TEST_F(ICalendarEventStoreTest, SeriesCostWhatTheAskedWindowHoldsAndWhatOutrunsTheLimitIsCutAndSaysSo) {
  // Walked from their starts, most of these would run for minutes or never end. Those marked `cut` are
  // read with the small limits, which they outrun.
  const struct {
    const char* rule;
    Date from;
    Date to;
    std::size_t count;
    Date first;
    Date last;
    bool cut;
  } cases[] = {
      {"DTSTART:19000101T000000Z\nRRULE:FREQ=SECONDLY\n", local(2026, 3, 10, 9), local(2026, 3, 10, 10), 3600,
       local(2026, 3, 10, 9), local(2026, 3, 10, 9).adding(3599), false},
      {"DTSTART:00010101T000000\nRRULE:FREQ=MINUTELY\n", local(2026, 3, 10), local(2026, 3, 11), 1440,
       local(2026, 3, 10), local(2026, 3, 10, 23, 59), false},
      // The day the clock goes back: its repeated hour has one start per wall time.
      {"DTSTART;TZID=America/New_York:19000101T000000\nRRULE:FREQ=MINUTELY;INTERVAL=30\n", local(2026, 11, 1),
       local(2026, 11, 2), 48, local(2026, 11, 1), local(2026, 11, 1, 23, 30), false},
      {"DTSTART:19900101T000000Z\nRRULE:FREQ=SECONDLY;COUNT=2147483647\n", local(2026, 3, 10, 9),
       local(2026, 3, 10, 9, 1), 60, local(2026, 3, 10, 9), local(2026, 3, 10, 9).adding(59), false},
      {"DTSTART:19000101T000000Z\nRRULE:FREQ=MINUTELY;BYMONTH=2\n", local(2026, 2, 10, 9),
       local(2026, 2, 10, 10), 60, local(2026, 2, 10, 9), local(2026, 2, 10, 9, 59), false},
      // libical looks through every second up to February; the window bounds that search.
      {"DTSTART:19000101T000000Z\nRRULE:FREQ=SECONDLY;BYMONTH=2\n",
       local(2026, 3, 10),
       local(2026, 3, 11),
       0,
       {},
       {},
       false},
      {"DTSTART:20260309T090000\nRRULE:FREQ=HOURLY;BYHOUR=9,17;COUNT=5\n", local(2026, 3, 10),
       local(2026, 3, 12), 3, local(2026, 3, 10, 9), local(2026, 3, 11, 9), false},
      // Every minute's :00 and :30 from 1900, counted: no arithmetic finds its end, and walking there is
      // far beyond the limit.
      {"DTSTART:19000101T000000Z\nRRULE:FREQ=MINUTELY;BYSECOND=0,30;COUNT=2147483647\n",
       local(2026, 3, 10),
       local(2026, 3, 11),
       0,
       {},
       {},
       true},
      // Starts inside the window: the first thousand seconds show.
      {"DTSTART:20260310T000000\nRRULE:FREQ=SECONDLY\n", local(2026, 3, 10), local(2026, 3, 11), 1000,
       local(2026, 3, 10), local(2026, 3, 10).adding(999), true},
  };
  testing::ScopedLogCapture log;
  ICalendarEventStore capped(folder_.path(), owner_, smallLimits);
  int index = 0;
  for (const auto& test : cases) {
    SCOPED_TRACE(test.rule);
    const std::string uid = "series-" + std::to_string(index++);
    writeEvent("work", uid, "Series", test.rule);
    const auto found = test.cut ? seen(capped.events(test.from, test.to, std::vector<std::string>{"work"}))
                                : eventsIn(test.from, test.to);
    ASSERT_EQ(found.size(), test.count);
    if (!found.empty()) {
      EXPECT_EQ(found.front().start, test.first);
      EXPECT_EQ(found.back().start, test.last);
    }
    const auto file = folder_.path() / "work" / (uid + ".ics");
    EXPECT_EQ(log.contains("Stopped expanding event " + uid + " in calendar file " + file.string() +
                           " at 1000 steps: some of its occurrences are left out"),
              test.cut);
    fs::remove(file);
  }
}

TEST_F(ICalendarEventStoreTest, ManyExclusionsStillRemoveTheirInstances) {
  // Every other day since 2000 excluded, in UTC, in a zone, and as dates.
  const std::chrono::sys_days first{std::chrono::year{2000} / 1 / 1};
  const char* forms[] = {"EXDATE:%04d%02u%02uT140000Z\n", "EXDATE;TZID=Asia/Kolkata:%04d%02u%02uT193000\n",
                         "EXDATE;VALUE=DATE:%04d%02u%02u\n"};
  std::string lines = "DTSTART:20000101T140000Z\nDTEND:20000101T150000Z\nRRULE:FREQ=DAILY\n";
  std::vector<Seen> expected;
  for (int day = 0; day < 20000; ++day) {
    const std::chrono::year_month_day date{first + std::chrono::days{day}};
    if (day % 2 == 0) {
      char text[80];
      std::snprintf(text, sizeof text, forms[day / 2 % 3], int(date.year()), unsigned(date.month()),
                    unsigned(date.day()));
      lines += text;
    } else if (date.year() == std::chrono::year{2026} && date.month() == std::chrono::March) {
      expected.push_back(
          {"Daily", utc(2026, 3, unsigned(date.day()), 14), utc(2026, 3, unsigned(date.day()), 15)});
    }
  }
  writeEvent("work", "daily", "Daily", lines);
  EXPECT_EQ(eventsIn(local(2026, 3, 1), local(2026, 4, 1)), expected);
}

TEST_F(ICalendarEventStoreTest, FilesPastTheLimitsOrNotUTF8AreSkippedAndTheRestStillShow) {
  testing::ScopedLogCapture log;
  ICalendarEventStore store(folder_.path(), owner_, smallLimits);
  write("work/good.ics", calendarText(eventText("good", "Good", "DTSTART:20260501T100000\n")));
  write("work/bom.ics",
        "\xEF\xBB\xBF" + calendarText(eventText("bom", "Marked", "DTSTART:20260501T110000\n")));
  const auto large = write("work/large.ics", calendarText(eventText("large", std::string(3000, 'x'), "")));
  const struct {
    const char* name;
    std::string_view bad;
    std::size_t badByte;
  } texts[] = {
      {"latin1", "Caf\xE9", 3},
      {"cut", "\xE2\x82", 0},
      {"overlong", "\xC0\xAF", 0},
      {"surrogate", "\xED\xA0\x80", 0},
      {"nul", std::string_view("a\0b", 3), 1},
  };
  std::vector<std::pair<fs::path, std::size_t>> notText;
  for (const auto& text : texts) {
    const std::string body = calendarText(eventText(text.name, text.bad, "DTSTART:20260501T120000\n"));
    notText.emplace_back(write(fs::path("work") / (std::string(text.name) + ".ics"), body),
                         body.find(text.bad) + text.badByte);
  }
  for (int file = 0; file < 10; ++file) {
    write("many/" + std::to_string(file) + ".ics",
          calendarText(eventText(std::to_string(file), "Many", "DTSTART:20260501T100000\n")));
  }
  EXPECT_EQ(seen(onMayFirst(store, "work")),
            (std::vector<Seen>{{"Good", local(2026, 5, 1, 10), local(2026, 5, 1, 10)},
                               {"Marked", local(2026, 5, 1, 11), local(2026, 5, 1, 11)}}));
  EXPECT_EQ(seen(onMayFirst(store, "many")),
            std::vector<Seen>(8, {"Many", local(2026, 5, 1, 10), local(2026, 5, 1, 10)}));
  EXPECT_TRUE(log.contains("Skipping calendar file " + large.string() + ": it has " +
                           std::to_string(fs::file_size(large)) +
                           " bytes, more than the 2048 a calendar file may have"));
  EXPECT_TRUE(log.contains("Skipping 2 of the 10 calendar files in " + (folder_.path() / "many").string() +
                           ": a calendar is read up to 8 files"));
  for (const auto& [file, byte] : notText) {
    EXPECT_TRUE(log.contains("Skipping calendar file " + file.string() + ": it is not UTF-8 text (byte " +
                             std::to_string(byte) + ")"))
        << file;
  }
}

TEST_F(ICalendarEventStoreTest, LongLinesAreReadWhole) {
  // Pieces of multibyte characters meet the ends of libical's 80-byte reads.
  std::string title;
  for (int index = 0; index < 400'001; ++index) {
    title += index % 3 == 0 ? "\xC3\xA9" : "a";
  }
  std::string folded;
  for (std::size_t at = 0; at < title.size(); at += 70) {
    folded += (at == 0 ? "" : "\r\n ") + title.substr(at, 70);
  }
  const struct {
    const char* name;
    std::string summary;
  } cases[] = {{"one line", title}, {"folded", folded}};
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    writeEvent("work", "long", test.summary, "DTSTART:20260501T100000\n");
    const auto found = eventsIn(local(2026, 5, 1), local(2026, 5, 2));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0].title == title) << found[0].title.size() << " bytes";
  }
}

TEST_F(ICalendarEventStoreTest, ACallThatRunsOutOfTimeLeavesTheRestOutAndSaysSo) {
  testing::ScopedLogCapture log;
  writeEvent("work", "a", "A", "DTSTART:20260501T100000\n");
  ICalendarEventStore store(
      folder_.path(), owner_,
      {.leastTime = std::chrono::milliseconds(0), .timePerMegabyte = std::chrono::milliseconds(0)});
  EXPECT_TRUE(onMayFirst(store, "work").empty());
  EXPECT_TRUE(
      log.contains("Left part of the calendars out: reading them took longer than the 0 ms allowed for " +
                   std::to_string(fs::file_size(folder_.path() / "work" / "a.ics")) + " bytes"));
}

TEST_F(ICalendarEventStoreTest, HostileVariantsOfValidCalendarsAreReadWithinBounds) {
  const std::string valid[] = {
      calendarText(eventText("standup", "Standup", R"(DTSTART;TZID=America/New_York:20260302T090000
DTEND;TZID=America/New_York:20260302T093000
RRULE:FREQ=WEEKLY;COUNT=6
EXDATE;TZID=America/New_York:20260309T090000
)") + eventText("standup", "Moved",
                "RECURRENCE-ID;TZID=America/New_York:20260316T090000\nDTSTART:20260317T140000Z\n")),
      calendarText(std::string(berlinZone) +
                       eventText("berlin", "Berlin", R"(DTSTART;TZID=Europe/Berlin:20260316T090000
DURATION:PT1H
RRULE:FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=-1;UNTIL=20270330T070000Z
RDATE;VALUE=PERIOD:20260310T080000Z/PT30M
)"),
                   "X-WR-CALNAME:Hostile\n"),
      calendarText(eventText("ticks", "Ticks",
                             "DTSTART:20260301T000000Z\nRRULE:FREQ=MINUTELY;INTERVAL=7;COUNT=9000\n") +
                   eventText("day", "Day",
                             "DTSTART;VALUE=DATE:20260315\nDTEND;VALUE=DATE:20260317\nRRULE:FREQ=YEARLY\n")),
      calendarText(eventText("seconds", "Seconds",
                             "DTSTART:19700101T000000Z\nRRULE:FREQ=SECONDLY;BYMINUTE=5;BYHOUR=9\n")),
  };
  constexpr ICalendarEventStore::Limits limits{.mostStepsPerRule = 2000};
  ICalendarEventStore store(folder_.path(), owner_, limits);
  const Date from = local(2026, 3, 16);
  const Date to = local(2026, 3, 18);
  int index = 0;
  for (std::uint32_t seed = 0; seed < std::size(valid); ++seed) {
    for (const auto& variant : testing::hostileVariants(valid[seed], seed, 50)) {
      SCOPED_TRACE(::testing::Message() << "seed " << seed << ", variant " << index);
      const auto file = write("fuzz/" + std::to_string(index++) + ".ics", variant);
      ICalendarEventStore single(file, owner_, limits);
      ASSERT_NO_THROW(single.calendars());
      std::vector<EventStoreEvent> found;
      ASSERT_NO_THROW(found = store.events(from, to, std::vector<std::string>{"fuzz"}));
      EXPECT_LE(found.size(), 8 * limits.mostStepsPerRule);
      for (const auto& event : found) {
        EXPECT_LE(event.start, event.end);
        EXPECT_TRUE(event.start < to && (event.end > from || event.start >= from));
      }
      fs::remove(file);
    }
  }
}

} // namespace
} // namespace vantrel
