#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "VantrelCore/Widget/GapWidgetData.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace vantrel {
namespace {

const CalendarDate day{2026, 3, 7};

/// A random snapshot around the day: two users, gaps on three days at three times, tasks of areas and of
/// held and unheld projects, subtasks, schedules on and off the day, and titles and names that need
/// escapes in JSON.
CloudKitCacheSnapshot randomSnapshot(std::mt19937& random) {
  const auto pick = [&](const auto& choices) { return choices[random() % choices.size()]; };
  const std::vector<std::string> users{"u-me", "u-you"};
  const std::vector<std::string> times{"09:00", "13:00", "9:30", "17:45"};
  const std::vector<std::string> days{"2026-03-06", "2026-03-07", "2026-03-08"};
  const std::vector<std::string> homes{"home", "work", "p-held", "p-\"quoted\"", "p-unheld"};
  const std::vector<std::string> titles{"Plain", "With \"quotes\"", "Back\\slash", "Ünïcödé ✓",
                                        "Tab\tand\nline"};
  CloudKitCacheSnapshot snapshot;
  snapshot.currentUserRef = "u-me";
  snapshot.areas["home"] = {"home", "Home", "green", "house", 2000, false};
  snapshot.areas["work"] = {"work", "Work", "blue", "case", 1000, false};
  for (const std::string project : {"p-held", "p-\"quoted\""}) {
    snapshot.projects[project] = {.recordName = project, .name = project};
  }
  int placementIndex = 0;
  for (const std::string project : {"p-held", "p-\"quoted\"", "p-unheld", "p-held"}) {
    const auto name = "up-" + std::to_string(++placementIndex);
    snapshot.userProjectPlacements[name] = {name,
                                            pick(users),
                                            project,
                                            pick(std::vector<std::string>{"home", "work"}),
                                            std::int64_t(random() % 5) * 1000,
                                            false};
  }
  for (int index = 0; index < 12; ++index) {
    const auto name = "g-" + std::to_string(index);
    snapshot.gaps[name] = {.recordName = name,
                           .dayRef = pick(days),
                           .time = pick(times),
                           .sortIndex = std::int64_t(random() % 3)};
  }
  std::vector<std::string> topLevel;
  for (int index = 0; index < 80; ++index) {
    const auto name = "t-" + std::to_string(index) + (index % 13 == 0 ? "\\x" : "");
    TaskRecord task{.recordName = name,
                    .homeRef = pick(homes),
                    .title = pick(titles),
                    .done = random() % 2 == 0,
                    .sortIndex = std::int64_t(random() % 10) * 1000};
    if (!topLevel.empty() && random() % 3 == 0) {
      task.parentTaskRef = pick(topLevel);
    } else {
      topLevel.push_back(name);
    }
    snapshot.tasks[name] = task;
    if (random() % 4 != 0) {
      const auto schedule = "ut-" + std::to_string(index);
      UserTaskScheduleRecord record{.recordName = schedule, .userRef = pick(users), .taskRef = name};
      const auto planned = CalendarDate::decode(pick(days));
      record.date = random() % 5 == 0 ? std::optional<Date>() : planned.noonUTC();
      record.gapTime = random() % 5 == 0 ? std::optional<std::string>() : pick(times);
      snapshot.userTaskSchedules[schedule] = record;
    }
  }
  return snapshot;
}

std::vector<std::string> namesOf(const std::vector<TaskRecord>& tasks) {
  std::vector<std::string> names;
  for (const auto& task : tasks) {
    names.push_back(task.recordName);
  }
  return names;
}

// The lean reader must find what a full decode and the day plan's own queries find.
TEST(GapWidgetData, ReadsWhatTheFullDecodeAndTheDayPlanFind) {
  for (const auto* zone : {"Europe/Berlin", "Pacific/Kiritimati", "America/Los_Angeles"}) {
    testing::ScopedDeviceSettings settings(zone);
    std::mt19937 random(20261123);
    for (int round = 0; round < 60; ++round) {
      const auto snapshot = randomSnapshot(random);
      const auto text = snapshot.encodeJSON();
      const auto full = CloudKitCacheSnapshot::decodeJSON(text);
      const auto lean = GapWidgetData::read(text, day);

      const auto fullGaps = GapScheduling::gaps(day.description(), full.gaps);
      const auto byName = [](std::vector<GapRecord> gaps) {
        std::ranges::sort(gaps, {}, &GapRecord::recordName);
        return gaps;
      };
      EXPECT_EQ(byName(lean.gaps), byName(fullGaps));
      const auto fullSchedules = GapScheduling::scheduleByTask(full.userTaskSchedules, full.currentUserRef);
      const auto placementOf = [&](const RecordMap<UserProjectPlacementRecord>& placements) {
        return [&placements, &full](const std::string& project) -> const UserProjectPlacementRecord* {
          const UserProjectPlacementRecord* chosen = nullptr;
          for (const auto& [name, placement] : placements) {
            if (placement.projectRef == project && placement.userRef == full.currentUserRef &&
                (!chosen || name < chosen->recordName)) {
              chosen = &placement;
            }
          }
          return chosen;
        };
      };
      const auto fullPlanned =
          GapScheduling::plannedOrder(GapScheduling::scheduledTasks(day, full.tasks, fullSchedules),
                                      full.areas, placementOf(full.userProjectPlacements));
      std::vector<TaskRecord> leanTopLevel;
      for (const auto& [name, task] : lean.tasks) {
        if (!task.isSubtask()) {
          leanTopLevel.push_back(task);
        }
      }
      const auto leanPlanned =
          GapScheduling::plannedOrder(leanTopLevel, lean.areas, [&](const std::string& project) {
            const auto found = lean.placements.find(project);
            return found == lean.placements.end() ? nullptr : &found->second;
          });
      for (const auto& gap : fullGaps) {
        const auto expected = GapScheduling::tasksInGap(gap, fullPlanned, fullSchedules);
        EXPECT_EQ(namesOf(GapScheduling::tasksInGap(gap, leanPlanned, lean.schedules)), namesOf(expected))
            << zone << " round " << round << " gap " << gap.recordName;
        for (const auto& task : expected) {
          EXPECT_EQ(lean.tasks.at(task.recordName), task);
          for (const auto& [name, subtask] : full.tasks) {
            if (subtask.parentTaskRef == task.recordName) {
              EXPECT_EQ(lean.tasks.at(name), subtask);
            }
          }
          EXPECT_EQ(lean.heldProjects.contains(task.homeRef), full.projects.contains(task.homeRef));
        }
      }
    }
  }
}

TEST(GapWidgetData, RefusesWhatIsNoSnapshotAndNamesWhere) {
  testing::ScopedDeviceSettings settings("Europe/Berlin");
  const struct {
    std::string text;
    std::string error;
  } cases[] = {
      {R"({"gaps":{"g-1":{"recordName":"g-1","dayRef":"2026-03-07","time":9}}})", "gaps/g-1"},
      {R"({"tasks":{"t-1":{"recordName":"t-1"})", "unexpected end"},
      {R"({"tasks":{"t-1":{"title":"a]}}})", "unterminated string"},
      {R"({"tasks":{"t-1":{"title":"a"]}})", "mismatched bracket"},
      {R"({"currentUserRef":5})", "expected '\"'"},
      {R"({"areas":[]})", "areas"},
      {R"({"x":tru})", "unexpected character"},
      {R"({"x":01})", "bad number"},
      {R"({"x":"\q"})", "bad escape"},
      {R"({"x":1} {})", "after the document"},
  };
  for (const auto& testCase : cases) {
    try {
      GapWidgetData::read(testCase.text, day);
      ADD_FAILURE() << testCase.text << " was read";
    } catch (const DecodingError& error) {
      EXPECT_NE(std::string(error.what()).find(testCase.error), std::string::npos)
          << testCase.text << ": " << error.what();
    }
  }
}

} // namespace
} // namespace vantrel
