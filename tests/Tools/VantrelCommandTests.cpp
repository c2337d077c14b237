#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/PrivateSessionBus.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <ranges>
#include <regex>
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

// The options that make a run one device of an account: its own profile in `folder`, and the cloud file
// all of the folder's devices share, in a folder of its own.
std::string device(const testing::TemporaryFolder& folder, const std::string& name) {
  std::filesystem::create_directories(folder.path() / "shared");
  return "--profile " + (folder.path() / name).string() + " --cloud " +
         (folder.path() / "shared" / "cloud.sqlite").string();
}

/// The titles of a JSON array of records, in order.
std::string titles(const std::string& json) {
  std::string text;
  const auto list = parseJSON(json);
  for (const auto& record : list.GetArray()) {
    text += std::string(readJSONString(record["title"])) + ",";
  }
  return text;
}

TEST(VantrelCommand, AboutReportsTheRunsInstantZoneAndProfile) {
  const auto run =
      vantrel("--profile /tmp/vantrel-profile --tz Pacific/Tongatapu --now 2026-03-07T23:30 --json about");
  ASSERT_EQ(run.exitCode, 0) << run.output;
  const auto about = parseJSON(run.output);
  EXPECT_EQ(readJSONString(about["now"]), "2026-03-07T23:30:00+13:00");
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

  EXPECT_EQ(phone("area add Home"), "Added area 'Home' (home)\n");
  const auto task = parseJSON(phone("--json task add 'Water the plants' --area Home"));
  EXPECT_EQ(readJSONString(task["title"]), "Water the plants");
  EXPECT_EQ(readJSONString(task["homeName"]), "Home");
  phone("gap add 2026-03-07 9:00 --label Morning");
  EXPECT_EQ(phone("task schedule 2026-03-07 water --gap morning"),
            "Planned 'Water the plants' on Sat, Mar 7, gap 9:00\u202fAM 'Morning'\n");

  const auto refused = vantrel(device(folder, "phone") + " area delete home");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.output,
            "vantrel: area 'Home' still holds projects or tasks; move or delete them first\n");

  EXPECT_EQ(phone("task delete Water"), "Deleted 'Water the plants'; vantrel undo restores it\n");
  EXPECT_EQ(phone("--json task list"), "[]\n");
  EXPECT_EQ(phone("undo"), "Restored 'Water the plants'\n");
  EXPECT_EQ(phone("undo"), "Nothing to undo.\n");
  EXPECT_EQ(titles(laptop("--json task list --on 2026-03-07")), "Water the plants,");
  EXPECT_EQ(phone("-q task done water"), "");
}

TEST(VantrelCommand, APersonArrangesAProjectWithHeadersAndGaps) {
  testing::TemporaryFolder folder;
  const auto planner = steps("--offline --profile " + folder.path().string());
  planner("area add Home");
  planner("project add Garden --area home");
  planner("header add Later --project garden");
  planner("task add Dig --project Garden --name t-dig");
  planner("task add Sow --project Garden --above-first-header --name t-sow --on 2026-03-07");
  planner("task add Weed --below-header later");
  EXPECT_EQ(planner("header rename Later Someday"), "Renamed header 'Later' to 'Someday'\n");
  EXPECT_EQ(titles(planner("--json header list --project garden")), "Someday,");

  const auto order = [&] { return titles(planner("--json task list --project garden")); };
  EXPECT_EQ(order(), "Sow,Weed,Dig,");
  planner("project reorder garden dig sow someday weed");
  EXPECT_EQ(order(), "Dig,Sow,Weed,");
  const std::string weed(
      readJSONString(parseJSON(planner("--json task list --project garden"))[2]["recordName"]));
  EXPECT_EQ(planner("task list --project garden"), "Home\n"
                                                   "  Garden\n"
                                                   "    [ ] Dig                   t-dig\n"
                                                   "    [ ] Sow       Sat, Mar 7  t-sow\n"
                                                   "    Someday\n"
                                                   "      [ ] Weed                " +
                                                       weed + "\n");

  planner("gap add 2026-03-07 09:00 --label Morning --name g-morning");
  planner("gap edit g-morning --time 10:00 --no-label");
  EXPECT_EQ(parseJSON(planner("--json gap copy 10:00 2026-03-08 2026-03-09 --on 2026-03-07")).Size(), 2u);
  planner("gap add 2026-03-07 9:05");
  const auto gaps = parseJSON(planner("--json gap list 2026-03-07"));
  ASSERT_EQ(gaps.Size(), 2u);
  EXPECT_EQ(readJSONString(gaps[0]["time"]), "09:05") << "normalised, and ordered by time";
  EXPECT_EQ(readJSONString(gaps[1]["recordName"]), "g-morning");
  EXPECT_TRUE(gaps[1]["label"].IsNull());
  EXPECT_EQ(planner("--json gap list 2026-03-10"), "[]\n");
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
  EXPECT_NE(std::string(readJSONString(status["banner"])).find("Buy oat milk"), std::string::npos);

  phone("status --dismiss");
  // A typo is refused without a banner, and --offline neither sends nor fetches.
  EXPECT_EQ(vantrel(device(folder, "phone") + " task done t-typo").output, "vantrel: no task 't-typo'\n");
  const auto quiet = parseJSON(phone("--offline --json status"));
  EXPECT_TRUE(quiet["banner"].IsNull());
  EXPECT_EQ(readJSONInt64(quiet["consecutiveFetchFailures"]), 0);
  EXPECT_EQ(titles(laptop("--offline --json task list")), "Buy soy milk,");
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
  const auto waiting = parseJSON(at("2026-03-07T14:45", "--json reminders list"));
  ASSERT_EQ(waiting.Size(), 1u);
  EXPECT_EQ(readJSONString(waiting[0]["identifier"]), "vt.gap.g-late.2026-03-07");
  EXPECT_EQ(readJSONString(waiting[0]["fires"]), "2026-03-07T17:00:00+01:00") << "in the device zone";

  // A shown reminder counts on the badge until today's plan has been looked at.
  EXPECT_TRUE(
      at("2026-03-07T14:45", "reminders list").starts_with("1 reminder was shown since you last looked"));
  EXPECT_NE(at("2026-03-07T14:45", "widget --waybar").find("1 reminder"), std::string::npos);
  at("2026-03-07T14:46", "today");
  EXPECT_EQ(at("2026-03-07T14:46", "reminders list").find("shown since"), std::string::npos);

  at("2026-03-07T14:50", "reminders off");
  EXPECT_EQ(at("2026-03-07T14:50", "reminders list"), "Reminders are off.\n");
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
  const auto planner = steps("--offline --tz Europe/Berlin --now 2026-03-07T09:30 --profile " +
                             (folder.path() / "profile").string());
  EXPECT_EQ(planner("calendars use " + calendars.string()), "Work  Local    work\n");
  planner("area add Home");
  planner("task add Dig --area home --name t-dig --due 2026-03-06");
  planner("subtask add dig Spade --name t-spade");
  planner("task add Sweep --area home --name t-sweep --on 2026-03-07");
  planner("gap add 2026-03-07 09:00 --label Morning --reminder --name g-morning");
  planner("task schedule 2026-03-07 t-dig --gap 9:00");

  const auto day = parseJSON(planner("--json today"));
  EXPECT_EQ(readJSONString(day["day"]), "2026-03-07");
  ASSERT_EQ(day["events"].Size(), 1u);
  EXPECT_EQ(readJSONString(day["events"][0]["title"]), "Planning meeting");
  EXPECT_EQ(readJSONString(day["events"][0]["start"]), "2026-03-07T10:00:00+01:00");
  // 10:00 to 11:00 in Berlin is busy; the window is 8:00 to 20:00.
  ASSERT_EQ(day["openWindows"].Size(), 2u);
  EXPECT_EQ(readJSONNumber(day["openWindows"][0]["duration"]), 7200);
  EXPECT_EQ(readJSONNumber(day["openWindows"][1]["duration"]), 32400);
  ASSERT_EQ(day["gaps"].Size(), 1u);
  EXPECT_EQ(readJSONString(day["gaps"][0]["endSource"]), "nextBoundary");
  EXPECT_EQ(readJSONString(day["gaps"][0]["end"]), "2026-03-07T10:00:00+01:00");
  EXPECT_TRUE(day["gaps"][0]["current"].GetBool());
  EXPECT_EQ(readJSONString(day["gaps"][0]["tasks"][0]["subtasks"][0]["recordName"]), "t-spade");
  EXPECT_EQ(readJSONString(day["plannedWithoutGap"][0]["recordName"]), "t-sweep");

  const auto text = planner("today 2026-03-07");
  for (const std::string_view expected :
       {"Saturday, March 7, 2026", "10:00\u2009–\u200911:00\u202fAM  Planning meeting  Work",
        "▶ 9:00\u202fAM  Morning 🔔  until 10:00\u202fAM  g-morning\n",
        "    [ ] Dig            due Fri, Mar 6  t-dig\n",
        "        [ ] Spade                      t-spade\n"}) {
    EXPECT_NE(text.find(expected), std::string::npos) << expected << "\nis not in\n" << text;
  }
  const auto french = planner("--locale fr_FR today");
  for (const std::string_view expected :
       {"samedi 7 mars 2026", "▶ 09:00  Morning", "10:00\u2009–\u200911:00"}) {
    EXPECT_NE(french.find(expected), std::string::npos) << expected << "\nis not in\n" << french;
  }

  EXPECT_EQ(planner("calendars block Work"), "Blocked calendar 'work'\n");
  EXPECT_EQ(parseJSON(planner("--json today"))["events"].Size(), 0u);
  EXPECT_EQ(planner("calendars list"), "Work  Local  blocked  work\n");
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
       "today                 2026-03-07 (Saturday, March 7, 2026)"},
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

// Every refusal names the argument and what it accepts, changes nothing, and exits 1; a usage error
// exits 2. Text that is not UTF-8 is refused before anything runs, saying what the argument was for.
TEST(VantrelCommand, BadInputIsRefusedByNameAndChangesNothing) {
  testing::TemporaryFolder folder;
  const std::string profile = "--offline --tz Europe/Berlin --now 2026-11-24T10:15 --profile " +
                              (folder.path() / "demo").string() + " ";
  ASSERT_EQ(vantrel(profile + "demo").exitCode, 0);
  const auto before = vantrel(profile + "--json task list").output;
  const auto fresh = folder.path() / "fresh";
  const std::string untouched = "--profile " + fresh.string() + " ";
  const std::string hint = "\nRun 'vantrel help' or 'vantrel COMMAND --help' for more information.\n";
  const std::string dayForms = "expected YYYY-MM-DD, today, tomorrow or yesterday\n";
  const struct {
    std::string arguments;
    int exitCode;
    std::string message;
  } cases[] = {
      {"--tz Mars/Olympus about", 1, "vantrel: unknown time zone 'Mars/Olympus'\n"},
      {"--now soon about", 1,
       "vantrel: invalid --now 'soon': expected YYYY-MM-DDTHH:MM[:SS] with an optional Z or ±HH:MM offset\n"},
      {"--now 2026-11-24T10:00+99:99 about", 1,
       "vantrel: invalid --now '2026-11-24T10:00+99:99': the offset from UTC is at most ±18:00, with minutes "
       "below 60\n"},
      {profile + "today 2026-02-30", 1, "vantrel: invalid DAY '2026-02-30': " + dayForms},
      {profile + "task due Water 2026-13-45", 1,
       "vantrel: invalid DUE '2026-13-45': expected a day (YYYY-MM-DD, today, tomorrow), an instant "
       "YYYY-MM-DDTHH:MM with an optional Z or ±HH:MM offset, or none\n"},
      {profile + "task add Dig --area home --on 99999-01-01", 1,
       "vantrel: invalid --on '99999-01-01': " + dayForms},
      {profile + "gap add 2026-13-45 09:00", 1, "vantrel: invalid DAY '2026-13-45': " + dayForms},
      {profile + "gap add today 27:99", 1,
       "vantrel: invalid TIME '27:99': expected a time of day from 00:00 to 23:59\n"},
      {profile + "gap add today ''", 1,
       "vantrel: invalid TIME '': expected a time of day H:MM or HH:MM, 24-hour (09:00, 13:30)\n"},
      {profile + "gap edit 9:45 --time 25:00", 1,
       "vantrel: invalid --time '25:00': expected a time of day from 00:00 to 23:59\n"},
      {profile + "task add '  ' --area home", 1,
       "vantrel: invalid TITLE '  ': expected some text; it is empty or blank\n"},
      {profile + "task add 'Dig\x1b[2J\nnow\u202e' --area home", 1,
       "vantrel: invalid TITLE 'Dig\\x1b[2J\\nnow\\u202e': expected one line of text, without control "
       "characters\n"},
      {profile + "area color work '#zz'", 1,
       "vantrel: invalid COLOR '#zz': expected #RRGGBB or one of red, orange, yellow, green, mint, teal, "
       "cyan, "
       "blue, indigo, purple, pink, brown, gray\n"},
      {profile + "task schedule today Water --gap 11:11", 1, "vantrel: no gap '11:11' on 2026-11-24\n"},
      {profile + "task schedule none Water --gap 9:45", 1,
       "vantrel: --gap needs a day; tasks planned for Anyday are in no gap\n"},
      {profile + "task add X --area Wrok", 1, "vantrel: no area 'Wrok'\n"},
      {profile + "task done Re", 1,
       "vantrel: 'Re' could be 6 tasks: Refill the prescription (t-demo-prescription), Renew my passport "
       "(t-demo-passport), Renew the conference ticket (t-demo-conference), Reply to the agency's quote "
       "(t-demo-agency-quote), Return the library books (t-demo-library), Review the wireframes with Alex "
       "(t-demo-wireframes); type more of the title, or the name in brackets\n"},
      {profile + "project delete 'website'", 1,
       "vantrel: project 'Website relaunch' holds 9 tasks; add --yes to delete it with them\n"},
      {profile + "open 'vantrel://today?gap=g-nope'", 1,
       "vantrel: no gap 'g-nope' today; see vantrel gap list\n"},
      {"--cloud /nonexistent/dir/c.sqlite " + untouched + "sync", 1,
       "vantrel: invalid --cloud '/nonexistent/dir/c.sqlite': the folder /nonexistent/dir does not exist\n"},
      {profile + "completion tcsh", 1, "vantrel: invalid SHELL 'tcsh': expected bash, zsh or fish\n"},
      {"tody", 2, "vantrel: unknown command 'tody'; did you mean 'today'?" + hint},
      {"task lst", 2, "vantrel: unknown task command 'lst'; did you mean 'list'?" + hint},
      {"--jsn today", 2, "vantrel: unknown option '--jsn'; did you mean '--json'?" + hint},
      {"help tody", 2, "vantrel: help: unknown command 'tody'; did you mean 'today'?" + hint},
      {profile + "area list 'more\x1b[2J'", 2,
       "vantrel: The following argument was not expected: more\\x1b[2J" + hint},
      {untouched + "task add 'Caf\xe9' --area home", 2,
       "vantrel: argument 5 (title of task add) is not UTF-8 text: byte 3 of \"Caf\\xe9\" is not valid\n"},
      {untouched + "--tz 'Europe/Berl\xedn' about", 2,
       "vantrel: argument 4 (the value of --tz) is not UTF-8 text: byte 11 of \"Europe/Berl\\xedn\" is not "
       "valid\n"},
      {untouched + "gap add 2026-03-07 09:00 '--label=Mo\xc3'", 2,
       "vantrel: argument 7 (--label) is not UTF-8 text: byte 10 of \"--label=Mo\\xc3\" is not valid\n"},
      {untouched + "task done t-1 't-\x80'", 2,
       "vantrel: argument 6 (tasks of task done) is not UTF-8 text: byte 2 of \"t-\\x80\" is not valid\n"},
      {"", 2, "vantrel: A subcommand is required" + hint},
      {"--version", 0, "vantrel " VANTREL_VERSION "\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const auto run = vantrel(c.arguments);
    EXPECT_EQ(run.exitCode, c.exitCode);
    EXPECT_EQ(run.output, c.message);
  }
  EXPECT_EQ(vantrel(profile + "--json task list").output, before) << "a refusal changes nothing";
  EXPECT_NE(vantrel(profile + "--json status").output.find("\"banner\":null"), std::string::npos)
      << "a refusal raises no banner";
  EXPECT_FALSE(std::filesystem::exists(fresh)) << "a refused argument runs nothing";
  EXPECT_TRUE(
      testing::runVantrelWidget("--at '2026-03-07T09:30\xa0'")
          .output.starts_with("vantrel-widget: argument 2 (the value of --at) is not UTF-8 text: byte 16"));
}

// The completion scripts are made from the command tree: each shell completes commands at every depth,
// past global options, and offers an option a command shares with the program once. zsh's completion
// system needs a terminal, so its one entry point the script calls, _describe, is played by a function
// that prints the candidates that fit the word.
TEST(VantrelCommand, TheCompletionScriptsCompleteCommandsAtEveryDepth) {
  const char* binaryDir = std::getenv("VANTREL_BINARY_DIR");
  ASSERT_NE(binaryDir, nullptr);
  const std::string program = std::string(binaryDir) + "/Tools/vantrel/vantrel";
  const std::map<std::string, std::string> scripts{
      {"bash", "source <(" + program +
                   " completion bash); COMP_WORDS=(LINE); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vantrel; "
                   "printf '%s\\n' \"${COMPREPLY[@]}\""},
      {"zsh", "compdef() { :; }; source <(" + program +
                  " completion zsh); _describe() { local name=${@[-1]}; for entry in ${(P)name}; do "
                  "if [[ $entry == ${words[CURRENT]}* ]]; then print -r -- ${entry%%:*}; fi; done; }; "
                  "words=(LINE); "
                  "CURRENT=${#words}; _vantrel"},
      {"fish", program + " completion fish | source; complete -C'LINE' | cut -f1"},
  };
  const std::pair<std::string, std::string> cases[] = {{"vantrel ta", "task\n"},
                                                       {"vantrel --json task ad", "add\n"},
                                                       {"vantrel gap list --o", "--offline\n"},
                                                       {"vantrel area add --co", "--color\n"}};
  for (const auto& [shell, script] : scripts) {
    for (const auto& [line, expected] : cases) {
      const auto command = std::regex_replace(script, std::regex("LINE"), line);
      FILE* pipe = popen((shell + (shell == "zsh" ? " -f" : "") + " -c '" +
                          std::regex_replace(command, std::regex("'"), "'\\''") + "'")
                             .c_str(),
                         "r");
      ASSERT_NE(pipe, nullptr);
      std::string output;
      std::array<char, 256> buffer{};
      while (const auto read = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        output.append(buffer.data(), read);
      }
      EXPECT_EQ(pclose(pipe), 0) << shell << ": " << line;
      EXPECT_EQ(output, expected) << shell << ": " << line;
    }
  }
}

// A person's plans are theirs alone: whatever the umask, every folder a run makes is 0700 and every file
// 0600, the cloud database's included.
// Colour is for people at a terminal: never in a pipe or in JSON, and never when NO_COLOR or a dumb
// terminal asks for none, unless --color always says so. The terminal is a pseudo-terminal from script(1).
TEST(VantrelCommand, ColourOnlyWhereAPersonReadsIt) {
  const char* binaryDir = std::getenv("VANTREL_BINARY_DIR");
  ASSERT_NE(binaryDir, nullptr);
  testing::TemporaryFolder folder;
  const auto options =
      "--offline --tz Europe/Berlin --now 2026-11-24T10:15 --profile " + folder.path().string() + " ";
  const auto program = std::string(binaryDir) + "/Tools/vantrel/vantrel " + options;
  ASSERT_EQ(testing::runVantrel(options + "demo").exitCode, 0);
  const struct {
    std::string environment;
    std::string arguments;
    bool terminal;
    bool coloured;
  } cases[] = {
      {"TERM=xterm", "today", true, true},
      {"TERM=xterm", "task list", true, true},
      {"TERM=xterm NO_COLOR=1", "today", true, false},
      {"TERM=dumb", "today", true, false},
      {"TERM=xterm", "--color never today", true, false},
      {"TERM=xterm", "--json today", true, false},
      {"TERM=xterm", "today", false, false},
      {"TERM=xterm NO_COLOR=1", "--color always today", false, true},
  };
  for (const auto& c : cases) {
    const auto command = "env " + c.environment + " " + program + c.arguments;
    FILE* pipe = popen((c.terminal ? "script -qec '" + command + "' /dev/null" : command).c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    std::array<char, 4096> buffer{};
    while (const auto read = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      output.append(buffer.data(), read);
    }
    EXPECT_EQ(pclose(pipe), 0) << c.environment << " " << c.arguments;
    EXPECT_GT(output.size(), 100u) << c.environment << " " << c.arguments;
    EXPECT_EQ(output.find("\x1b[") != std::string::npos, c.coloured) << c.environment << " " << c.arguments;
  }
}

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
