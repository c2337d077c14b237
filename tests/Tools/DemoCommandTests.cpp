#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>

namespace vantrel {
namespace {

/// Seconds since 1970 of an ISO 8601 instant with an offset, as --json writes them.
double instantOf(const rapidjson::Value& value) {
  const std::string text(readJSONString(value));
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, offsetHours = 0, offsetMinutes = 0;
  char sign = '+';
  EXPECT_EQ(std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d%c%d:%d", &year, &month, &day, &hour, &minute,
                        &second, &sign, &offsetHours, &offsetMinutes),
            9)
      << text;
  const auto days = std::chrono::sys_days(std::chrono::year(year) / month / day).time_since_epoch().count();
  return double(days) * 86400 + hour * 3600 + minute * 60 + second -
         (sign == '+' ? 1 : -1) * (offsetHours * 3600 + offsetMinutes * 60);
}

testing::CommandLineRun vantrel(const std::string& arguments) {
  return testing::runVantrel(arguments);
}

/// The options of a run in Berlin at `now` on the profile `name` under `folder`, ready for a command.
std::string in(const testing::TemporaryFolder& folder, const std::string& name, const std::string& now) {
  return "--tz Europe/Berlin --now " + now + " --profile " + (folder.path() / name).string() + " ";
}

rapidjson::Document dayView(const std::string& options, const std::string& day) {
  const auto run = vantrel(options + "--json today " + day);
  EXPECT_EQ(run.exitCode, 0) << run.output;
  return parseJSON(run.output);
}

/// Every file of the folder by its path inside it, with what it holds.
std::map<std::string, std::string> filesUnder(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      std::ostringstream text;
      text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      files[std::filesystem::relative(entry.path(), folder).string()] = text.str();
    }
  }
  return files;
}

// A newcomer's first look, on a working day and on a weekend: a week of the promised size, today's and
// tomorrow's gaps already holding tasks, a task planned for the day outside them, and the widget showing it.
TEST(DemoCommand, FillsAFreshProfileWithAWeekThatTodayAndTheWidgetShow) {
  testing::TemporaryFolder folder;
  const struct {
    const char* now;
    const char* tomorrow;
    const char* firstGap;
    std::size_t events;
  } days[] = {{"2026-11-23T10:00", "2026-11-24", "Deep work", 2},
              {"2026-11-28T09:00", "2026-11-29", "Long run", 1}};
  for (const auto& day : days) {
    SCOPED_TRACE(day.now);
    const auto options = in(folder, day.now, day.now);
    const auto demo = vantrel(options + "--json demo");
    ASSERT_EQ(demo.exitCode, 0) << demo.output;
    const auto counts = parseJSON(demo.output);
    EXPECT_GE(readJSONInt64(counts["areas"]), 3);
    EXPECT_LE(readJSONInt64(counts["areas"]), 4);
    EXPECT_GE(readJSONInt64(counts["projects"]), 5);
    EXPECT_LE(readJSONInt64(counts["projects"]), 7);
    EXPECT_GE(readJSONInt64(counts["tasks"]), 25);

    const auto today = dayView(options, "");
    EXPECT_EQ(today["events"].Size(), day.events);
    ASSERT_GE(today["gaps"].Size(), 2u);
    EXPECT_EQ(readJSONString(today["gaps"][0]["label"]), day.firstGap);
    for (const auto& gap : today["gaps"].GetArray()) {
      EXPECT_GE(gap["tasks"].Size(), 1u) << readJSONString(gap["label"]);
    }
    EXPECT_GE(today["plannedWithoutGap"].Size(), 1u);
    const auto tomorrow = dayView(options, day.tomorrow);
    ASSERT_GE(tomorrow["gaps"].Size(), 2u);
    EXPECT_GE(tomorrow["gaps"][0]["tasks"].Size(), 1u);

    const auto widget = testing::runVantrelWidget(options + "--snapshot");
    ASSERT_EQ(widget.exitCode, 0) << widget.output;
    EXPECT_GE(parseJSON(widget.output)["model"]["taskCount"].GetInt64(), 1);
  }
}

// Events are written in UTC from the device zone's wall clock; across the end of summer time (Sunday
// 25 October) the stand-up must still end where the morning's gap begins, and no gap may open inside an
// event. The week shows exactly the events and gaps the demo counted.
TEST(DemoCommand, GapsOpenBetweenTheEventsThroughAClockChange) {
  testing::TemporaryFolder folder;
  const auto options = in(folder, "week", "2026-10-22T09:00");
  const auto demo = vantrel(options + "--json demo");
  ASSERT_EQ(demo.exitCode, 0) << demo.output;
  const auto counts = parseJSON(demo.output);

  std::int64_t gaps = 0;
  std::int64_t events = 0;
  for (const auto* day :
       {"2026-10-22", "2026-10-23", "2026-10-24", "2026-10-25", "2026-10-26", "2026-10-27", "2026-10-28"}) {
    SCOPED_TRACE(day);
    const auto view = dayView(options, day);
    EXPECT_GE(view["gaps"].Size(), 2u);
    EXPECT_LE(view["gaps"].Size(), 4u);
    gaps += view["gaps"].Size();
    events += view["events"].Size();
    for (const auto& gap : view["gaps"].GetArray()) {
      const auto start = instantOf(gap["start"]);
      for (const auto& event : view["events"].GetArray()) {
        if (!readJSONBool(event["isAllDay"])) {
          EXPECT_FALSE(instantOf(event["start"]) <= start && start < instantOf(event["end"]))
              << readJSONString(gap["label"]) << " opens during " << readJSONString(event["title"]);
        }
      }
    }
    const bool weekend = std::string(day) == "2026-10-24" || std::string(day) == "2026-10-25";
    if (!weekend) {
      bool standUpEndsAtDeepWork = false;
      for (const auto& event : view["events"].GetArray()) {
        for (const auto& gap : view["gaps"].GetArray()) {
          standUpEndsAtDeepWork |= readJSONString(event["title"]) == "Stand-up" &&
                                   readJSONString(gap["label"]) == "Deep work" &&
                                   instantOf(event["end"]) == instantOf(gap["start"]);
        }
      }
      EXPECT_TRUE(standUpEndsAtDeepWork);
    }
  }
  EXPECT_EQ(gaps, readJSONInt64(counts["gaps"]));
  EXPECT_EQ(events, readJSONInt64(counts["events"]));
}

// Two fresh profiles filled at the same instant in the same zone hold the same week, down to record names
// and calendar files, so a guide can name what a newcomer will see.
TEST(DemoCommand, TheSameClockAndZoneGiveTheSameWeek) {
  testing::TemporaryFolder folder;
  const auto first = in(folder, "first", "2026-11-25T08:00");
  const auto second = in(folder, "second", "2026-11-25T08:00");
  const auto firstDemo = vantrel(first + "demo");
  ASSERT_EQ(firstDemo.exitCode, 0) << firstDemo.output;
  EXPECT_EQ(vantrel(second + "demo").output, firstDemo.output);

  for (const auto* day : {"2026-11-25", "2026-11-26"}) {
    EXPECT_EQ(vantrel(second + "--json today " + day).output, vantrel(first + "--json today " + day).output)
        << day;
  }
  EXPECT_EQ(vantrel(second + "inbox list").output, vantrel(first + "inbox list").output);
  const auto calendars = filesUnder(folder.path() / "first" / "Vantrel" / "demo-calendars");
  EXPECT_GE(calendars.size(), 6u);
  EXPECT_EQ(filesUnder(folder.path() / "second" / "Vantrel" / "demo-calendars"), calendars);
}

// Any planner data at all, even a lone inbox item or gap, makes the profile not fresh; the refusal
// changes nothing and writes no calendar folder.
TEST(DemoCommand, RefusesAProfileThatAlreadyHoldsData) {
  testing::TemporaryFolder folder;
  const std::string refusal = "vantrel: the profile already holds data; vantrel demo fills only a fresh "
                              "profile (use --profile DIR with a new folder)\n";
  const struct {
    const char* profile;
    const char* command;
  } setUps[] = {{"demo", "demo"},
                {"inbox", "inbox add 'Buy milk'"},
                {"gap", "gap add 2026-11-23 10:00 --label Focus"},
                {"area", "area add Errands"}};
  for (const auto& setUp : setUps) {
    SCOPED_TRACE(setUp.command);
    const auto options = in(folder, setUp.profile, "2026-11-23T09:00");
    const auto held = vantrel(options + setUp.command);
    ASSERT_EQ(held.exitCode, 0) << held.output;
    const auto calendarFolder = folder.path() / setUp.profile / "Vantrel" / "demo-calendars";
    const bool calendarsBefore = std::filesystem::exists(calendarFolder);
    const auto before = vantrel(options + "--json today").output;

    const auto again = vantrel(options + "demo");
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.output, refusal);
    EXPECT_EQ(vantrel(options + "--json today").output, before);
    EXPECT_EQ(std::filesystem::exists(calendarFolder), calendarsBefore);
  }
}

// A calendar file that cannot be written fails the demo rather than leaving a calendar short, and the
// failed run saves nothing: once the obstacle is gone the profile is still fresh and the demo runs.
TEST(DemoCommand, ACalendarFileThatCannotBeWrittenFailsAndLeavesTheProfileFresh) {
  testing::TemporaryFolder folder;
  const auto options = in(folder, "blocked", "2026-11-23T09:00");
  const auto obstacle = folder.path() / "blocked" / "Vantrel" / "demo-calendars" / "work" / "color";
  std::filesystem::create_directories(obstacle);

  const auto blocked = vantrel(options + "demo");
  EXPECT_EQ(blocked.exitCode, 1) << blocked.output;
  EXPECT_EQ(dayView(options, "")["gaps"].Size(), 0u);

  std::filesystem::remove(obstacle);
  const auto demo = vantrel(options + "demo");
  EXPECT_EQ(demo.exitCode, 0) << demo.output;
  EXPECT_GE(dayView(options, "")["gaps"].Size(), 2u);
}

} // namespace
} // namespace vantrel
