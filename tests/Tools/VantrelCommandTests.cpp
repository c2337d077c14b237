#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/PrivateSessionBus.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <ranges>
#include <string>
#include <sys/stat.h>

namespace vantrel {
namespace {

testing::CommandLineRun vantrel(const std::string& arguments) {
  return testing::runVantrel(arguments);
}

// A person's steps that are meant to work, each run with `options` first; each returns what it printed.
auto steps(std::string options) {
  return [options = std::move(options)](const std::string& arguments) {
    const auto run = vantrel(options + " " + arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.output;
    return run.output;
  };
}

// Commands that add something print the new record's name on their first line.
std::string firstLine(const std::string& output) {
  return output.substr(0, output.find('\n'));
}

// The options that make a run one device of an account: its own profile in `folder`, and the cloud file
// all of the folder's devices share, in a folder of its own that the first run has to make.
std::string device(const testing::TemporaryFolder& folder, const std::string& name) {
  return "--profile " + (folder.path() / name).string() + " --cloud " +
         (folder.path() / "shared" / "cloud.sqlite").string();
}

TEST(VantrelCommand, AboutReportsTheRunsInstantZoneAndProfile) {
  const auto run =
      vantrel("--profile /tmp/vantrel-profile --tz Pacific/Tongatapu --now 2026-03-07T23:30 --json about");
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const auto about = parseJSON(run.output);
  EXPECT_EQ(readJSONNumber(about["now"]), 794572200); // 10:30 UTC, 13 hours behind Tongatapu
  EXPECT_EQ(readJSONString(about["today"]), "2026-03-07");
  EXPECT_EQ(readJSONString(about["timeZone"]), "Pacific/Tongatapu");
  EXPECT_EQ(readJSONString(about["applicationSupportDirectory"]), "/tmp/vantrel-profile");
  EXPECT_EQ(readJSONString(about["appGroupContainerDirectory"]),
            "/tmp/vantrel-profile/group.com.vantrel.vantrel.gen1");
}

// Two profiles on one cloud file are two devices of one account: what one plans and undoes, the other sees.
TEST(VantrelCommand, APersonPlansOnOneProfileUndoesAndSeesItOnAnother) {
  testing::TemporaryFolder folder;
  const auto phone = steps(device(folder, "phone"));
  const auto laptop = steps(device(folder, "laptop"));

  const auto account = parseJSON(phone("--json sync"));
  const auto joined = parseJSON(laptop("--json sync"));
  EXPECT_EQ(readJSONString(account["account"]), readJSONString(joined["account"]));
  EXPECT_EQ(readJSONInt64(joined["records"]), 1) << "the schema record the first device wrote";
  EXPECT_EQ(readJSONInt64(joined["pendingWrites"]), 0);
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "laptop" / "group.com.vantrel.vantrel.gen1" /
                                      "Vantrel" / "cache-snapshot.json"));

  EXPECT_EQ(firstLine(phone("area add Home")), "home");
  const auto task = parseJSON(phone("--json task add 'Water the plants' --area home"));
  const std::string name(readJSONString(task["recordName"]));
  EXPECT_EQ(readJSONString(task["record"]["title"]), "Water the plants");
  phone("task schedule 2026-03-07 " + name + " --gap 09:00");

  const auto refused = vantrel(device(folder, "phone") + " area delete home");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.output, "vantrel: Move or delete the projects and tasks inside this area first.\n");

  phone("task delete " + name);
  EXPECT_EQ(phone("task list"), "");
  EXPECT_EQ(phone("undo"), "Undo Delete Task\n");
  EXPECT_EQ(laptop("task list"), name + "  home  [ ] Water the plants\n");
}

TEST(VantrelCommand, APersonArrangesAProjectWithHeadersAndGaps) {
  testing::TemporaryFolder folder;
  const auto planner = steps("--offline --profile " + folder.path().string());
  planner("area add Home");
  const std::string garden = firstLine(planner("project add Garden --area home"));
  const std::string later = firstLine(planner("header add Later --project " + garden));
  planner("task add Dig --project " + garden + " --name t-dig");
  planner("task add Sow --project " + garden + " --above-first-header --name t-sow --on 2026-03-07");
  const std::string weed = firstLine(planner("task add Weed --below-header " + later));
  planner("header rename " + later + " Someday");
  EXPECT_EQ(planner("header list --project " + garden), later + "  Someday\n");

  const auto order = [&] {
    std::string names;
    for (const auto& line : std::views::split(planner("task list"), '\n')) {
      const std::string_view text(line.begin(), line.end());
      if (text.find(garden) != std::string_view::npos) {
        names += std::string(text.substr(text.find("] ") + 2)) + ",";
      }
    }
    return names;
  };
  EXPECT_EQ(order(), "Sow,Weed,Dig,");
  planner("project reorder " + garden + " t-dig t-sow " + later + " " + weed);
  EXPECT_EQ(order(), "Dig,Sow,Weed,");

  EXPECT_EQ(planner("gap add 2026-03-07 09:00 --label Morning --name g-morning"), "g-morning\n");
  planner("gap edit g-morning --time 10:00 --no-label");
  EXPECT_EQ(std::ranges::count(planner("gap copy g-morning 2026-03-08 2026-03-09"), '\n'), 2);
  EXPECT_EQ(planner("gap list 2026-03-07"), "g-morning  10:00  \n");
  EXPECT_EQ(planner("gap list 2026-03-09").substr(std::string_view("g-abcdef").size()), "  10:00  \n");
}

TEST(VantrelCommand, AConflictShowsItsBannerAndStatusRemembersIt) {
  testing::TemporaryFolder folder;
  const auto phone = steps(device(folder, "phone"));
  const auto laptop = steps(device(folder, "laptop"));
  phone("area add Errands");
  phone("task add 'Buy milk' --area errands --name t-milk");
  laptop("sync");
  phone("--offline task rename t-milk 'Buy oat milk'");
  laptop("task rename t-milk 'Buy soy milk'");

  // A conflict is news, not a failure: the sync succeeds and says which change was replaced.
  const auto conflicted = phone("sync");
  EXPECT_NE(conflicted.find("vantrel: Your change to the title of Buy oat milk was replaced by an edit from "
                            "your other device. The rest of your changes were kept.\n"),
            std::string::npos)
      << conflicted;

  const auto status = parseJSON(phone("--json status"));
  EXPECT_EQ(readJSONString(status["syncHealth"]), "healthy");
  EXPECT_EQ(readJSONInt64(status["pendingWrites"]), 0);
  EXPECT_EQ(readJSONString(status["lastConflict"]["localLabel"]), "Buy oat milk");
  EXPECT_EQ(readJSONString(status["lastConflict"]["serverLabel"]), "Buy soy milk");
  EXPECT_EQ(status["recentConflicts"].Size(), 1u);
  EXPECT_NE(std::string(readJSONString(status["banner"]["summary"])).find("Buy oat milk"), std::string::npos);

  phone("status --dismiss");
  EXPECT_TRUE(parseJSON(phone("--offline --json status"))["banner"].IsNull());
  EXPECT_EQ(laptop("--offline task list"), "t-milk  errands  [ ] Buy soy milk\n");
}

TEST(VantrelCommand, RemindersRunShowsDueRemindersOnceAndLeavesTheOthers) {
  testing::TemporaryFolder folder;
  testing::PrivateSessionBus bus;
  testing::RecordingNotificationServer server(bus.address());
  const auto at = [&](const std::string& now, const std::string& arguments) {
    return steps("--offline --tz Europe/Berlin --now " + now + " --profile " +
                 folder.path().string())(arguments);
  };
  at("2026-03-07T10:00", "gap add 2026-03-07 14:30 --label 'Deep work' --reminder --name g-deep");
  at("2026-03-07T10:00", "gap add 2026-03-07 17:00 --reminder --name g-late");
  at("2026-03-07T10:00", "gap add 2026-03-07 16:00 --name g-quiet");
  at("2026-03-07T10:00", "reminders on");
  EXPECT_EQ(std::ranges::count(at("2026-03-07T10:00", "reminders list"), '\n'), 2);

  EXPECT_EQ(at("2026-03-07T14:00", "reminders run --bus " + bus.address()), "");
  EXPECT_EQ(at("2026-03-07T14:31", "reminders run --bus " + bus.address()),
            "shown vt.gap.g-deep.2026-03-07  Gap starting: Deep work\n");
  EXPECT_EQ(at("2026-03-07T14:45", "reminders run --bus " + bus.address()), "");
  const auto shown = server.shown();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].body, "Starts at 2:30 PM");
  EXPECT_EQ(at("2026-03-07T14:45", "reminders list").find("vt.gap.g-late.2026-03-07"), 0u);

  at("2026-03-07T14:50", "reminders off");
  EXPECT_EQ(at("2026-03-07T14:50", "reminders list"), "");
}

TEST(VantrelCommand, TodayShowsTheDaysEventsOpenTimeGapsAndTheirTasks) {
  testing::TemporaryFolder folder;
  const auto calendars = folder.path() / "calendars";
  std::filesystem::create_directories(calendars / "work");
  std::ofstream(calendars / "work" / "displayname") << "Work\n";
  std::ofstream(calendars / "work" / "meeting.ics")
      << "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Vantrel//Test//EN\r\nBEGIN:VEVENT\r\nUID:meeting-1\r\n"
         "DTSTAMP:20260301T000000Z\r\nSUMMARY:Planning meeting\r\nDTSTART:20260307T090000Z\r\n"
         "DTEND:20260307T100000Z\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
  const auto planner = steps("--offline --tz Europe/Berlin --now 2026-03-07T07:00 --profile " +
                             (folder.path() / "profile").string());
  EXPECT_EQ(planner("calendars use " + calendars.string()), "work  Work  (Local)\n");
  planner("area add Home");
  planner("task add Dig --area home --name t-dig");
  planner("subtask add t-dig Spade --name t-spade");
  planner("task add Sweep --area home --name t-sweep --on 2026-03-07");
  planner("gap add 2026-03-07 09:00 --label Morning --name g-morning");
  planner("task schedule 2026-03-07 t-dig --gap 09:00");

  const auto day = parseJSON(planner("--json today"));
  EXPECT_EQ(readJSONString(day["day"]), "2026-03-07");
  ASSERT_EQ(day["events"].Size(), 1u);
  EXPECT_EQ(readJSONString(day["events"][0]["title"]), "Planning meeting");
  EXPECT_EQ(readJSONString(day["events"][0]["calendarName"]), "Work");
  // 10:00 to 11:00 in Berlin is busy; the window is 8:00 to 20:00.
  ASSERT_EQ(day["openWindows"].Size(), 2u);
  EXPECT_EQ(readJSONString(day["openWindows"][0]["durationLabel"]), "2h");
  EXPECT_EQ(readJSONString(day["openWindows"][1]["durationLabel"]), "9h");
  ASSERT_EQ(day["gaps"].Size(), 1u);
  EXPECT_EQ(readJSONString(day["gaps"][0]["endSource"]), "nextBoundary");
  EXPECT_EQ(readJSONNumber(day["gaps"][0]["end"]) - readJSONNumber(day["gaps"][0]["start"]), 3600);
  ASSERT_EQ(day["gaps"][0]["tasks"].Size(), 1u);
  EXPECT_EQ(readJSONString(day["gaps"][0]["tasks"][0]["recordName"]), "t-dig");
  EXPECT_EQ(readJSONString(day["gaps"][0]["tasks"][0]["subtasks"][0]["recordName"]), "t-spade");
  ASSERT_EQ(day["plannedWithoutGap"].Size(), 1u);
  EXPECT_EQ(readJSONString(day["plannedWithoutGap"][0]["recordName"]), "t-sweep");

  const auto text = planner("today 2026-03-07");
  for (const std::string_view expected :
       {"Saturday, March 7, 2026", "10:00 – 11:00 AM  Planning meeting  (Work)",
        "9:00 AM  Morning  until 10:00 AM (nextBoundary)  (g-morning)\n    [ ] Dig  (t-dig)\n"
        "        [ ] Spade  (t-spade)\n"}) {
    EXPECT_NE(text.find(expected), std::string::npos) << expected << "\nis not in\n" << text;
  }

  planner("calendars block work");
  EXPECT_EQ(parseJSON(planner("--json today"))["events"].Size(), 0u);
  EXPECT_EQ(planner("calendars list"), "work  Work  (Local)  blocked\n");
}

// The device zone is the host's (TZ, then /etc/localtime) with the system's current rules: at 05:30 UTC
// on 1 July 2026 it is still 30 June in Mexico City, which ended daylight time in 2022.
TEST(VantrelCommand, TheDeviceZoneComesFromTZWithTheSystemsRules) {
  testing::TemporaryFolder folder;
  std::ofstream(folder.path() / "Broken") << "TZif2 but nothing else";
  const struct {
    const char* tz;
    std::string tzdir;
    std::string arguments;
    int exitCode;
    std::string output;
  } cases[] = {
      {"America/Mexico_City", "", "--now 2026-07-01T05:30Z about", 0, "today                 2026-06-30"},
      {":Africa/Cairo", "", "--now 2026-06-30T21:30Z about", 0, "today                 2026-07-01"},
      {"UTC", "", "--tz America/Mexico_City --now 2026-07-01T05:30Z about", 0,
       "today                 2026-06-30"},
      {"UTC", "", "--profile /tmp/vantrel-profile --tz Pacific/Pago_Pago --now 2026-03-07T23:30 about", 0,
       "today                 2026-03-07 (Saturday)"},
      {"Mars/Olympus", "", "about", 1, "vantrel: unknown time zone 'Mars/Olympus'\n"},
      {"Broken", folder.path().string(), "about", 1,
       "vantrel: time zone 'Broken' cannot be read: " + (folder.path() / "Broken").string() +
           " is damaged (truncated)\n"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.tz + (" " + test.arguments));
    ::setenv("TZ", test.tz, 1);
    if (!test.tzdir.empty()) {
      ::setenv("TZDIR", test.tzdir.c_str(), 1);
    }
    const auto run = testing::runVantrel(test.arguments);
    ::unsetenv("TZ");
    ::unsetenv("TZDIR");
    EXPECT_EQ(run.exitCode, test.exitCode);
    if (test.exitCode == 0) {
      EXPECT_NE(run.output.find(test.output), std::string::npos) << run.output;
    } else {
      EXPECT_EQ(run.output, test.output);
    }
  }
}

// Text that is not UTF-8 would be stored and then break every later write of the planner's files, so it
// is refused before anything runs, saying what the argument was for.
TEST(VantrelCommand, BadInputGetsTheSystemsTextAndAFailingExit) {
  testing::TemporaryFolder folder;
  const std::string profile = "--offline --profile " + folder.path().string() + " ";
  const auto fresh = folder.path() / "fresh";
  const std::string untouched = "--profile " + fresh.string() + " ";
  const struct {
    std::string arguments;
    int exitCode;
    std::string message;
  } cases[] = {
      {"--tz Mars/Olympus about", 1, "vantrel: unknown time zone 'Mars/Olympus'\n"},
      {"--now soon about", 1,
       "vantrel: invalid --now 'soon': expected YYYY-MM-DDTHH:MM[:SS] with an optional Z or ±HH:MM offset\n"},
      {profile + "today 2026-02-30", 1, "vantrel: invalid day '2026-02-30': expected YYYY-MM-DD\n"},
      {profile + "task due t-1 2026-13-45", 1, "vantrel: invalid day '2026-13-45': expected YYYY-MM-DD\n"},
      {profile + "task add Dig --area home --on 99999-01-01", 1,
       "vantrel: invalid day '99999-01-01': expected YYYY-MM-DD\n"},
      {profile + "area list 'more\x1b[2J'", 2,
       "vantrel: The following argument was not expected: more\\x1b[2J\nRun with --help for more "
       "information.\n"},
      {untouched + "task add 'Caf\xe9' --area home", 2,
       "vantrel: argument 5 (title of task add) is not UTF-8 text: byte 3 of \"Caf\\xe9\" is not valid\n"},
      {untouched + "--tz 'Europe/Berl\xedn' about", 2,
       "vantrel: argument 4 (the value of --tz) is not UTF-8 text: byte 11 of \"Europe/Berl\\xedn\" is not "
       "valid\n"},
      {untouched + "gap add 2026-03-07 09:00 '--label=Mo\xc3'", 2,
       "vantrel: argument 7 (--label) is not UTF-8 text: byte 10 of \"--label=Mo\\xc3\" is not valid\n"},
      {untouched + "task done t-1 't-\x80'", 2,
       "vantrel: argument 6 (tasks of task done) is not UTF-8 text: byte 2 of \"t-\\x80\" is not valid\n"},
      {"'\xff'", 2,
       "vantrel: argument 1 (a word after vantrel) is not UTF-8 text: byte 0 of \"\\xff\" is not "
       "valid\n"},
      {"", 2, "vantrel: A subcommand is required\nRun with --help for more information.\n"},
      {"--version", 0, "vantrel " VANTREL_VERSION "\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const auto run = vantrel(c.arguments);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_EQ(run.output, c.message);
  }
  EXPECT_FALSE(std::filesystem::exists(fresh)) << "a refused argument runs nothing";
  EXPECT_TRUE(
      testing::runVantrelWidget("--at '2026-03-07T09:30\xa0'")
          .output.starts_with("vantrel-widget: argument 2 (the value of --at) is not UTF-8 text: byte 16"));
}

// Names and titles come from people and other devices: text for people shows their control characters
// and direction overrides escaped, JSON keeps them as they are.
TEST(VantrelCommand, ControlCharactersInUserTextReachTheTerminalEscaped) {
  testing::TemporaryFolder folder;
  const auto planner = steps("--offline --profile " + folder.path().string());
  const std::string hostile = "Dig\x1b[2J\nnow\r\x07\u202e\xc2\x9b";
  const std::string shown = R"(Dig\x1b[2J\nnow\r\x07\u202e\u009b)";
  planner("area add Home");
  const auto added = parseJSON(planner("--json task add '" + hostile + "' --area home --name t-dig"));
  EXPECT_EQ(readJSONString(added["record"]["title"]), hostile);
  planner("inbox add '" + hostile + "' --name i-dig");
  planner("gap add 2026-03-07 09:00 --label '" + hostile + "' --name g-dig");
  const std::pair<std::string, std::string> lists[] = {
      {"task list", "t-dig  home  [ ] " + shown + "\n"},
      {"inbox list", "i-dig  " + shown + "\n"},
      {"gap list 2026-03-07", "g-dig  09:00  " + shown + "\n"},
  };
  for (const auto& [list, expected] : lists) {
    EXPECT_EQ(planner(list), expected);
  }
}

// A person's plans are theirs alone: whatever the umask, every folder a run makes is 0700 and every file
// 0600, the cloud database's included.
TEST(VantrelCommand, EverythingAProfileHoldsIsPrivate) {
  testing::TemporaryFolder folder;
  const auto profile = folder.path() / "profile";
  const mode_t previous = ::umask(022);
  const auto demo =
      vantrel("--tz Europe/Berlin --now 2026-03-07T08:00 --profile " + profile.string() + " demo");
  ::umask(previous);
  ASSERT_EQ(demo.exitCode, 0) << demo.output;
  namespace fs = std::filesystem;
  EXPECT_EQ(fs::status(profile).permissions(), fs::perms::owner_all);
  int checked = 0;
  for (const auto& entry : fs::recursive_directory_iterator(profile)) {
    const auto file = fs::perms::owner_read | fs::perms::owner_write;
    EXPECT_EQ(entry.symlink_status().permissions(), entry.is_directory() ? fs::perms::owner_all : file)
        << entry.path();
    ++checked;
  }
  EXPECT_GT(checked, 20) << "the demo's calendars, snapshot, preferences and cloud database";
}

} // namespace
} // namespace vantrel
