#include "VantrelCore/Planning/GapScheduling.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

const std::string me = "_me";
const CalendarDate saturday{2026, 3, 7};

template <class Record> GapScheduling::Records<Record> mapOf(std::vector<Record> records) {
  GapScheduling::Records<Record> map;
  for (auto& record : records) {
    map.emplace(record.recordName, std::move(record));
  }
  return map;
}

template <class Record> std::vector<std::string> names(const std::vector<Record>& records) {
  std::vector<std::string> result;
  for (const auto& record : records) {
    result.push_back(record.recordName);
  }
  return result;
}

std::vector<std::string> sortedNames(const std::vector<TaskRecord>& tasks) {
  auto result = names(tasks);
  std::ranges::sort(result);
  return result;
}

class GapSchedulingTest : public ::testing::Test {
protected:
  testing::ScopedDeviceSettings settings_{"Pacific/Kiritimati"};
};

// By the clock, not by the text: "9:05" is before "13:00" and the same time as "09:05".
TEST_F(GapSchedulingTest, GapsOfADayByTimeOfDayThenSortIndex) {
  const auto gaps = mapOf<GapRecord>({
      {.recordName = "g-late", .dayRef = "2026-03-07", .time = "09:00", .sortIndex = 2000},
      {.recordName = "g-early", .dayRef = "2026-03-07", .time = "09:00", .sortIndex = 1000},
      {.recordName = "g-first", .dayRef = "2026-03-07", .time = "08:30", .sortIndex = 3000},
      {.recordName = "g-noon", .dayRef = "2026-03-07", .time = "13:00", .sortIndex = 0},
      {.recordName = "g-short", .dayRef = "2026-03-07", .time = "9:05", .sortIndex = 2000},
      {.recordName = "g-padded", .dayRef = "2026-03-07", .time = "09:05", .sortIndex = 1000},
      {.recordName = "g-unreadable", .dayRef = "2026-03-07", .time = "1 pm", .sortIndex = 0},
      {.recordName = "g-also-unreadable", .dayRef = "2026-03-07", .time = "07 h", .sortIndex = 0},
      {.recordName = "g-other-day", .dayRef = "2026-03-08", .time = "07:00"},
  });
  EXPECT_EQ(names(GapScheduling::gaps("2026-03-07", gaps)),
            (std::vector<std::string>{"g-first", "g-early", "g-late", "g-padded", "g-short", "g-noon",
                                      "g-also-unreadable", "g-unreadable"}));
  EXPECT_TRUE(GapScheduling::gaps("2026-3-7", gaps).empty()) << "the stored text is compared as it is";
}

TEST_F(GapSchedulingTest, ADayHoldsTheUsersTopLevelTasksPlannedOnIt) {
  // Kiritimati is 14 hours ahead of UTC: a plan for its Saturday is stored as Saturday's noon UTC, which
  // is early on Sunday there, so days must be compared in the device zone.
  const auto tasks = mapOf<TaskRecord>({
      {.recordName = "t-planned", .homeRef = "home"},
      {.recordName = "t-subtask", .homeRef = "home", .parentTaskRef = "t-planned"},
      {.recordName = "t-someone-elses", .homeRef = "home"},
      {.recordName = "t-gap-only", .homeRef = "home"},
      {.recordName = "t-next-day", .homeRef = "home"},
  });
  const auto schedules = mapOf<UserTaskScheduleRecord>({
      {.recordName = "ut-1", .userRef = me, .taskRef = "t-planned", .date = saturday.noonUTC()},
      {.recordName = "ut-2", .userRef = me, .taskRef = "t-subtask", .date = saturday.noonUTC()},
      {.recordName = "ut-3", .userRef = "_other", .taskRef = "t-someone-elses", .date = saturday.noonUTC()},
      {.recordName = "ut-4", .userRef = me, .taskRef = "t-gap-only", .gapTime = "09:00"},
      {.recordName = "ut-5", .userRef = me, .taskRef = "t-next-day", .date = saturday.adding(1).noonUTC()},
  });
  const auto byTask = GapScheduling::scheduleByTask(schedules, me);
  EXPECT_EQ(byTask.size(), 4u);
  EXPECT_FALSE(byTask.contains("t-someone-elses"));
  EXPECT_EQ(sortedNames(GapScheduling::scheduledTasks(saturday, tasks, byTask)),
            std::vector<std::string>{"t-planned"});
  EXPECT_EQ(sortedNames(GapScheduling::scheduledTasks(saturday.adding(1), tasks, byTask)),
            std::vector<std::string>{"t-next-day"});
}

TEST_F(GapSchedulingTest, AGapHoldsTheTasksPlannedAtItsTimeOnItsDay) {
  const GapRecord morning{.recordName = "g-1", .dayRef = "2026-03-07", .time = "09:00"};
  const std::vector<TaskRecord> tasks{{.recordName = "t-in"},         {.recordName = "t-in-short-time"},
                                      {.recordName = "t-other-time"}, {.recordName = "t-other-day"},
                                      {.recordName = "t-unplanned"},  {.recordName = "t-no-day"}};
  const GapScheduling::ScheduleByTask byTask{
      {"t-in", {.taskRef = "t-in", .date = saturday.noonUTC(), .gapTime = "09:00"}},
      {"t-in-short-time", {.taskRef = "t-in-short-time", .date = saturday.noonUTC(), .gapTime = "9:00"}},
      {"t-other-time", {.taskRef = "t-other-time", .date = saturday.noonUTC(), .gapTime = "13:00"}},
      {"t-other-day", {.taskRef = "t-other-day", .date = saturday.adding(1).noonUTC(), .gapTime = "09:00"}},
      {"t-no-day", {.taskRef = "t-no-day", .gapTime = "09:00"}},
  };
  EXPECT_EQ(names(GapScheduling::tasksInGap(morning, tasks, byTask)),
            (std::vector<std::string>{"t-in", "t-in-short-time", "t-no-day"}));
}

TEST_F(GapSchedulingTest, PlannedTasksFollowAreasThenTheUsersProjectOrder) {
  const auto areas = mapOf<AreaRecord>(
      {{.recordName = "work", .sortIndex = 1000}, {.recordName = "home", .sortIndex = 2000}});
  const std::unordered_map<std::string, UserProjectPlacementRecord> placements{
      {"p-garden", {.projectRef = "p-garden", .areaRef = "home", .sortIndex = 1000}},
      {"p-report", {.projectRef = "p-report", .areaRef = "work", .sortIndex = 2000}},
      {"p-budget", {.projectRef = "p-budget", .areaRef = "work", .sortIndex = 1000}},
  };
  const std::vector<TaskRecord> tasks{
      {.recordName = "t-unplaced", .homeRef = "p-unknown", .sortIndex = 1},
      {.recordName = "t-dig", .homeRef = "p-garden", .sortIndex = 1000},
      {.recordName = "t-sweep", .homeRef = "home", .sortIndex = 5000},
      {.recordName = "t-write", .homeRef = "p-report", .sortIndex = 1000},
      {.recordName = "t-sum-2", .homeRef = "p-budget", .sortIndex = 2000},
      {.recordName = "t-sum-1", .homeRef = "p-budget", .sortIndex = 1000},
      {.recordName = "t-mail", .homeRef = "work", .sortIndex = 9000},
  };
  const auto ordered = GapScheduling::plannedOrder(tasks, areas, [&](const std::string& project) {
    const auto found = placements.find(project);
    return found == placements.end() ? nullptr : &found->second;
  });
  EXPECT_EQ(names(ordered), (std::vector<std::string>{"t-mail", "t-sum-1", "t-sum-2", "t-write", "t-sweep",
                                                      "t-dig", "t-unplaced"}));
}

} // namespace
} // namespace vantrel
