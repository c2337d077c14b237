#include "Tools/vantrel/CommandLine.hpp"
#include "Tools/vantrel/WaybarLine.hpp"
#include "VantrelCore/JSON/JSONValue.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vantrel {
namespace {

using testing::runVantrel;
using testing::runVantrelWidget;

class WidgetCommandTest : public ::testing::Test {
protected:
  void SetUp() override {
    planner("area add Home");
    planner("task add Dig --area home --name t-dig");
    planner("subtask add t-dig Spade --name t-spade");
    planner("task add Sweep --area home --name t-sweep");
    planner("gap add 2026-03-07 09:00 --label Morning --name g-morning");
    planner("gap add 2026-03-07 13:00 --name g-noon");
    planner("task schedule 2026-03-07 t-dig --gap 09:00");
    planner("task schedule 2026-03-07 t-sweep --gap 13:00");
  }
  std::string options(const std::string& now = "2026-03-07T08:00") const {
    return "--tz Europe/Berlin --now " + now + " --profile " + (folder_.path() / "profile").string() + " ";
  }
  std::string planner(const std::string& arguments) {
    const auto run = runVantrel("--offline " + options() + arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.output;
    return run.output;
  }
  std::string widget(const std::string& arguments) {
    const auto run = runVantrelWidget(options() + arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.output;
    return run.output;
  }

  testing::TemporaryFolder folder_;
};

TEST_F(WidgetCommandTest, TheEntryProgramPrintsTheTimelineEntriesAndAStatusLine) {
  const auto timeline = parseJSON(widget(""));
  ASSERT_TRUE(timeline.IsArray());
  ASSERT_EQ(timeline.Size(), 5u);
  EXPECT_EQ(readJSONString(timeline[0]["date"]), "2026-03-07T08:00:00+01:00");
  EXPECT_EQ(readJSONString(timeline[0]["model"]["state"]), "nextGap");
  EXPECT_EQ(readJSONString(timeline[1]["model"]["state"]), "currentGap");
  EXPECT_EQ(readJSONString(timeline[2]["model"]["gapRecordName"]), "g-noon");
  EXPECT_EQ(readJSONString(timeline[0]["model"]["deepLinkURL"]), "vantrel://today?gap=g-morning");
  EXPECT_EQ(widget(""), runVantrel(options() + "widget").output) << "vantrel widget is the same program";

  const auto entry = parseJSON(widget("--at 2026-03-07T13:30 --snapshot"));
  EXPECT_EQ(readJSONString(entry["model"]["gapLabel"]), "1:00 PM");
  EXPECT_EQ(readJSONString(entry["model"]["tasks"][0]["id"]), "t-sweep");
  EXPECT_EQ(readJSONString(parseJSON(widget("--placeholder"))["model"]["state"]), "currentGap");

  EXPECT_EQ(
      widget("--at 2026-03-07T09:15 --waybar"),
      R"({"text":"Morning · 0/1","tooltip":"Now: 9:00 AM Morning\n☐ Dig\n    ☐ Spade\n\nLater today:\n1:00 PM",)"
      R"("class":"currentGap","alt":"currentGap"})"
      "\n");
  EXPECT_EQ(widget("--at 2026-03-07T21:00 --waybar"),
            R"({"text":"No more gaps today","tooltip":"No more gaps today","class":"noGaps","alt":"noGaps"})"
            "\n");
}

// The status line is where the application's badge shows: the gap reminders shown and not yet seen.
TEST(WaybarLine, EndsInTheBadgeWhenRemindersWaitToBeSeen) {
  const GapWidgetModel running{.state = GapWidgetModel::State::currentGap,
                               .gapRecordName = "g-1",
                               .gapClockLabel = "9:00 AM",
                               .gapLabel = "Morning",
                               .isRunning = true};
  const GapWidgetModel none{};
  const struct {
    const GapWidgetModel& model;
    int badge;
    std::string text;
    std::string tooltipEnd;
  } cases[] = {
      {running, 0, "Morning", "No tasks planned"},
      {running, 1, "Morning · 1 reminder", "No tasks planned\n\n1 reminder not seen yet"},
      {running, 12, "Morning · 12 reminders", "\n\n12 reminders not seen yet"},
      {none, 2, "No more gaps today · 2 reminders", "No more gaps today\n\n2 reminders not seen yet"},
      {none, 0, "No more gaps today", "No more gaps today"},
  };
  for (const auto& [model, badge, text, tooltipEnd] : cases) {
    const auto line = parseJSON(cli::waybarLine(model, badge));
    EXPECT_EQ(readJSONString(line["text"]), text) << badge;
    EXPECT_TRUE(std::string(readJSONString(line["tooltip"])).ends_with(tooltipEnd)) << badge;
    EXPECT_EQ(readJSONString(line["class"]), gapWidgetStateName(model.state)) << "the style keeps the state";
  }
}

// The widget and the today view compute the day from one plan, read two ways (the snapshot's text, the
// cache), so at every instant they agree on the current gap and on its tasks.
TEST_F(WidgetCommandTest, TodayAndTheWidgetAgreeOnTheCurrentGap) {
  planner("gap add 2026-03-07 6:00 --label Early --name g-early");
  planner("task add Stretch --area home --name t-stretch");
  planner("task schedule 2026-03-07 t-stretch --gap 06:00");
  planner("task add Someday --area home --name t-loose");
  planner("task schedule 2026-03-07 t-loose");
  const struct {
    std::string at;
    std::string current;
  } cases[] = {{"05:00", ""},          {"06:30", "g-early"}, {"08:30", ""},
               {"09:15", "g-morning"}, {"13:30", "g-noon"},  {"21:00", ""}};
  for (const auto& [at, current] : cases) {
    const auto instant = "2026-03-07T" + at;
    const auto today = parseJSON(runVantrel("--offline --json " + options(instant) + "today").output);
    std::string currentInToday;
    for (const auto& gap : today["gaps"].GetArray()) {
      if (gap["current"].GetBool()) {
        EXPECT_EQ(currentInToday, "") << at << ": two current gaps";
        currentInToday = readJSONString(gap["recordName"]);
      }
    }
    const auto entry = parseJSON(widget("--at " + instant + " --snapshot"));
    const auto& model = entry["model"];
    const auto shownAsCurrent = readJSONString(model["state"]) == "currentGap";
    EXPECT_EQ(currentInToday, current) << at;
    EXPECT_EQ(shownAsCurrent ? std::string(readJSONString(model["gapRecordName"])) : "", current) << at;
    ASSERT_EQ(today["plannedWithoutGap"].Size(), 1u) << at;
    EXPECT_EQ(readJSONString(today["plannedWithoutGap"][0]["recordName"]), "t-loose");
  }
}

TEST_F(WidgetCommandTest, MarkDoneShowsAtOnceAndTheNextRunAppliesIt) {
  EXPECT_EQ(planner("mark-done t-dig"), "Marked \"Dig\" done; the planner applies it on its next run\n");
  const auto queued = parseJSON(widget("--at 2026-03-07T09:15 --snapshot"));
  EXPECT_TRUE(queued["model"]["tasks"][0]["done"].GetBool())
      << "the widget shows the toggle before the planner ran";
  EXPECT_EQ(readJSONNumber(queued["model"]["doneCount"]), 1);

  const auto shared = folder_.path() / "profile" / "group.com.vantrel.vantrel.gen1" / "Vantrel";
  ASSERT_TRUE(std::filesystem::exists(shared / "intent-actions.json"));
  planner("sync");
  EXPECT_FALSE(std::filesystem::exists(shared / "intent-actions.json")) << "a run drains the queue";
  const auto tasks = planner("task list --done");
  EXPECT_NE(tasks.find("[x] Dig"), std::string::npos) << tasks;

  const auto unknown = runVantrel(options() + "mark-done t-nope --not-done");
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_EQ(unknown.output, "vantrel: no task 't-nope' in the planner's snapshot; see vantrel task list\n");
}

// On a full disk the toggle is not recorded: the person is told so and the exit fails, never "Marked".
TEST_F(WidgetCommandTest, MarkDoneThatCannotBeRecordedFailsAndSaysWhy) {
  testing::ScopedDeviceSettings zone("Europe/Berlin");
  testing::ScopedLogCapture log;
  testing::FaultInjectingFileSystem fullDisk;
  fullDisk.failCall(testing::FaultInjectingFileSystem::Step::create, 1, ENOSPC);
  const std::vector<std::string> arguments = {"--profile", (folder_.path() / "profile").string(), "mark-done",
                                              "t-dig"};
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  const int status = cli::runCommandLine(arguments, fullDisk, std::cout, std::cerr);
  const auto printed = ::testing::internal::GetCapturedStdout();
  const auto error = ::testing::internal::GetCapturedStderr();

  EXPECT_EQ(status, 1);
  EXPECT_EQ(printed, "");
  ASSERT_EQ(fullDisk.createRequests().size(), 1u);
  const auto queue =
      folder_.path() / "profile" / "group.com.vantrel.vantrel.gen1" / "Vantrel" / "intent-actions.json";
  const std::string reason = "atomic write to " + queue.string() + " failed: create " +
                             fullDisk.createRequests()[0].string() + ": No space left on device";
  EXPECT_EQ(error, "vantrel: could not record \"Dig\" done: " + reason + "\n");
  EXPECT_TRUE(log.contains("Recording intent action failed: " + reason));
  EXPECT_FALSE(std::filesystem::exists(queue));
}

TEST_F(WidgetCommandTest, TheReloadCommandRunsAfterAToggleAndAfterANewSnapshot) {
  const auto marker = folder_.path() / "reloaded";
  planner("widget --set-reload-command 'echo >> " + marker.string() + "'");
  planner("mark-done t-sweep --not-done");
  EXPECT_EQ(std::filesystem::file_size(marker), 1u);
  planner("task add Mop --area home");
  EXPECT_EQ(std::filesystem::file_size(marker), 2u) << "the planner wrote a new snapshot";
  planner("widget --set-reload-command ''");
  planner("task add Wipe --area home");
  EXPECT_EQ(std::filesystem::file_size(marker), 2u);
}

// The status-bar line follows the shared files: a toggle queued by another process shows as a new line.
TEST_F(WidgetCommandTest, FollowPrintsANewLineWhenTheQueueChanges) {
  const char* binaryDir = std::getenv("VANTREL_BINARY_DIR");
  ASSERT_NE(binaryDir, nullptr);
  // Today's plan, on the real clock, so that --follow (which refuses a fixed clock) has something to show.
  const auto profile = (folder_.path() / "today").string();
  const auto today = [&](const std::string& arguments) {
    const auto run = runVantrel("--offline --tz UTC --profile " + profile + " " + arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments << ": " << run.output;
  };
  today("area add Home");
  today("task add Rest --area home --name t-rest");
  const auto now = std::time(nullptr);
  char day[16];
  std::strftime(day, sizeof day, "%Y-%m-%d", std::gmtime(&now));
  // A gap at the day's last minute is the next one (its tasks shown) all day long.
  today(std::string("gap add ") + day + " 23:59 --name g-late");
  today(std::string("task schedule ") + day + " t-rest --gap 23:59");

  int output[2];
  ASSERT_EQ(pipe(output), 0);
  const pid_t child = fork();
  if (child == 0) {
    dup2(output[1], STDOUT_FILENO);
    close(output[0]);
    const std::string program = std::string(binaryDir) + "/VantrelMacWidgetExtension/vantrel-widget";
    execl(program.c_str(), program.c_str(), "--tz", "UTC", "--profile", profile.c_str(), "--waybar",
          "--follow", nullptr);
    _exit(127);
  }
  close(output[1]);
  FILE* lines = fdopen(output[0], "r");
  const auto nextLine = [&] {
    char buffer[4096];
    return std::string(std::fgets(buffer, sizeof buffer, lines) ? buffer : "");
  };
  const auto first = nextLine();
  EXPECT_NE(first.find("☐ Rest"), std::string::npos) << first;
  today("mark-done t-rest");
  const auto second = nextLine();
  EXPECT_NE(second.find("☑ Rest"), std::string::npos) << second;
  kill(child, SIGTERM);
  waitpid(child, nullptr, 0);
  std::fclose(lines);
}

TEST_F(WidgetCommandTest, OpenRoutesTheLinkOfAWidgetTap) {
  const auto entry = parseJSON(widget("--at 2026-03-07T09:15 --snapshot"));
  EXPECT_EQ(planner("open " + std::string(readJSONString(entry["model"]["deepLinkURL"]))),
            "Today, focused on gap g-morning\n");
}

TEST_F(WidgetCommandTest, RefusesWhatItCannotDo) {
  const struct {
    std::string arguments;
    std::string message;
  } cases[] = {
      {"--follow", "--follow requires --waybar"},
      {"--waybar --follow", "vantrel-widget: --follow follows the real clock; leave out --now and --at\n"},
      {"--placeholder --snapshot", "--placeholder excludes --snapshot"},
      {"--at yesterday", "vantrel-widget: "},
  };
  for (const auto& testCase : cases) {
    const auto run = runVantrelWidget(options() + testCase.arguments);
    EXPECT_NE(run.exitCode, 0) << testCase.arguments;
    EXPECT_NE(run.output.find(testCase.message), std::string::npos)
        << testCase.arguments << ": " << run.output;
  }
}

} // namespace
} // namespace vantrel
