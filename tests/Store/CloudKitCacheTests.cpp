#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vantrel {
namespace {

constexpr const char* me = "_me";
constexpr const char* other = "_other";

std::unique_ptr<icu::TimeZone> zone(const char* identifier) {
  return TimeZoneDatabase::system().zone(identifier);
}

TaskRecord task(std::string name, std::string home, std::optional<std::string> parent = std::nullopt) {
  return TaskRecord{
      .recordName = std::move(name), .homeRef = std::move(home), .parentTaskRef = std::move(parent)};
}

UserProjectPlacementRecord placement(std::string name, std::string user, std::string project,
                                     std::string area) {
  return {.recordName = std::move(name),
          .userRef = std::move(user),
          .projectRef = std::move(project),
          .areaRef = std::move(area)};
}

UserTaskScheduleRecord schedule(std::string name, std::string user, std::string taskRef,
                                std::optional<CalendarDate> day) {
  return {.recordName = std::move(name),
          .userRef = std::move(user),
          .taskRef = std::move(taskRef),
          .date = day ? std::optional(day->noonUTC()) : std::nullopt};
}

GapRecord gap(std::string name, std::string day) {
  return {.recordName = std::move(name), .dayRef = std::move(day), .time = "09:00"};
}

RecordNameSet names(std::initializer_list<const char*> list) {
  return {list.begin(), list.end()};
}

TEST(CloudKitCache, IndexesFollowHomesPlacementsAndTheUsersOwnSchedules) {
  CloudKitCache cache;
  cache.setCurrentUserRef(me);
  cache.upsert(ProjectRecord{.recordName = "p-1", .name = "Garden"});
  cache.upsert(placement("up-mine", me, "p-1", "home"));
  cache.upsert(placement("up-theirs", other, "p-1", "work"));
  cache.upsert(placement("up-shared", me, "p-9", "work"));
  cache.upsert(task("t-1", "p-1"));
  cache.upsert(task("t-2", "p-1", "t-1"));
  cache.upsert(task("t-3", "errands"));
  cache.upsert(task("t-4", "p-2"));
  cache.upsert(schedule("ut-1", me, "t-1", CalendarDate{2026, 3, 7}));
  cache.upsert(schedule("ut-2", other, "t-3", CalendarDate{2026, 3, 7}));
  cache.upsert(schedule("ut-3", me, "t-3", std::nullopt));
  cache.upsert(gap("g-1", "2026-03-07"));
  cache.upsert(gap("g-2", "2026-3-7"));

  const std::unordered_map<std::string, std::string> areas{
      {"t-1", "home"}, {"t-2", "home"}, {"t-3", "errands"}};
  EXPECT_EQ(cache.taskAreaRef(), areas);
  EXPECT_EQ(cache.tasksByHome(),
            (RecordNameIndex{{"p-1", names({"t-1"})}, {"errands", names({"t-3"})}, {"p-2", names({"t-4"})}}));
  EXPECT_EQ(cache.tasksByParent(), (RecordNameIndex{{"t-1", names({"t-2"})}}));
  EXPECT_EQ(cache.projectsInArea(), (RecordNameIndex{{"home", names({"p-1"})}, {"work", names({"p-9"})}}));
  EXPECT_EQ(cache.sharedProjectRefs(), (std::unordered_set<std::string>{"p-9"}));
  ASSERT_EQ(cache.myTaskSchedules().size(), 2u);
  EXPECT_EQ(cache.myTaskSchedules().at("t-3").recordName, "ut-3");
  EXPECT_EQ(cache.myTaskIDsByDay(), (RecordNameIndex{{"2026-03-07", names({"t-1"})}}));
  EXPECT_EQ(cache.gapIDsByDay(),
            (RecordNameIndex{{"2026-03-07", names({"g-1"})}, {"2026-3-7", names({"g-2"})}}));

  // Moving the project moves its tasks; the user's own project is no longer someone else's.
  cache.upsert(placement("up-mine", me, "p-1", "work"));
  cache.upsert(ProjectRecord{.recordName = "p-9", .name = "Now mine"});
  EXPECT_EQ(cache.taskAreaRef().at("t-2"), "work");
  EXPECT_EQ(cache.projectsInArea(), (RecordNameIndex{{"work", names({"p-1", "p-9"})}}));
  EXPECT_TRUE(cache.sharedProjectRefs().empty());

  cache.remove<UserProjectPlacementRecord>("up-mine");
  cache.remove<TaskRecord>("t-2");
  cache.remove<UserTaskScheduleRecord>("ut-1");
  EXPECT_EQ(cache.taskAreaRef(), (std::unordered_map<std::string, std::string>{{"t-3", "errands"}}));
  EXPECT_TRUE(cache.tasksByParent().empty());
  EXPECT_TRUE(cache.myTaskIDsByDay().empty());
}

TEST(CloudKitCache, DayIndexIsReadInItsZoneAndFollowsAChangeOfZone) {
  CloudKitCache cache;
  cache.setCurrentUserRef(me);
  cache.setDayIndexTimeZone(*zone("Pacific/Kiritimati"));
  // Noon UTC is already 02:00 of the next day at UTC+14.
  cache.upsert(schedule("ut-1", me, "t-1", CalendarDate{2026, 3, 7}));
  EXPECT_EQ(cache.myTaskIDsByDay(), (RecordNameIndex{{"2026-03-08", names({"t-1"})}}));

  cache.setDayIndexTimeZone(*zone("America/New_York"));
  EXPECT_EQ(cache.myTaskIDsByDay(), (RecordNameIndex{{"2026-03-07", names({"t-1"})}}));
}

TEST(CloudKitCache, EveryMutationBumpsTheVersionAndTellsTheObserver) {
  CloudKitCache cache;
  int calls = 0;
  cache.setOnMutation([&] {
    ++calls;
    EXPECT_EQ(cache.dataVersion(), calls);
  });
  cache.upsert(task("t-1", "a"));
  cache.upsert(task("t-1", "a"));
  EXPECT_TRUE(cache.remove<TaskRecord>("t-1"));
  EXPECT_FALSE(cache.remove<TaskRecord>("t-1"));
  cache.setSchemaVersion(SchemaVersionRecord{7});
  cache.removeAll();
  EXPECT_EQ(calls, 6);
}

TEST(CloudKitCache, ReplacingAllKeepsTheRecordsAndTheUserAndRemovingAllKeepsTheUser) {
  CloudKitCacheSnapshot snapshot;
  snapshot.snapshotVersion = 0;
  snapshot.currentUserRef = me;
  snapshot.tasks.emplace("t-1", task("t-1", "p-1"));
  snapshot.userProjectPlacements.emplace("up-1", placement("up-1", me, "p-1", "home"));
  snapshot.schemaVersion = SchemaVersionRecord{7};

  CloudKitCache cache;
  cache.replaceAll(snapshot);
  snapshot.snapshotVersion = CloudKitCacheSnapshot::currentSnapshotVersion;
  EXPECT_EQ(cache.snapshot(), snapshot);
  EXPECT_EQ(cache.taskAreaRef().at("t-1"), "home");

  cache.removeAll();
  EXPECT_EQ(cache.recordCount(), 0u);
  EXPECT_EQ(cache.currentUserRef(), me);
  EXPECT_EQ(cache.indexes(), CloudKitCacheIndexes{});
}

// Random edits over a handful of names, so that records keep changing home, parent, user, project, day
// and area, and keep colliding (two schedules of one task, a placement for a project that comes and
// goes). After every step the incremental indexes must equal a rebuild from the records.
TEST(CloudKitCache, IncrementalIndexesAgreeWithAFullRebuild) {
  const auto kiritimati = zone("Pacific/Kiritimati");
  const auto utc = zone("UTC");
  for (const std::uint32_t seed : {1u, 2u, 3u, 4u, 5u}) {
    std::mt19937 random(seed);
    const auto pick = [&](const std::vector<std::string>& options) {
      return options[std::uniform_int_distribution<std::size_t>(0, options.size() - 1)(random)];
    };
    const std::vector<std::string> tasks{"t-1", "t-2", "t-3", "t-4", "t-5"};
    const std::vector<std::string> homes{"p-1", "p-2", "p-3", "area-a", "area-b"};
    const std::vector<std::string> projects{"p-1", "p-2", "p-3"};
    const std::vector<std::string> areas{"area-a", "area-b", "area-c"};
    const std::vector<std::string> users{me, other};
    const std::vector<std::string> dayTexts{"2026-03-07", "2026-03-08", "2026-3-7"};
    const std::vector<std::string> slots{"x-1", "x-2", "x-3", "x-4"};

    CloudKitCache cache;
    cache.setCurrentUserRef(me);
    for (int step = 0; step < 400; ++step) {
      const int action = std::uniform_int_distribution(0, 16)(random);
      const bool coin = std::bernoulli_distribution(0.5)(random);
      switch (action) {
      case 0:
      case 1:
        cache.upsert(task(pick(tasks), pick(homes), coin ? std::optional(pick(tasks)) : std::nullopt));
        break;
      case 2:
        cache.remove<TaskRecord>(pick(tasks));
        break;
      case 3:
      case 4:
        cache.upsert(placement(pick(slots), pick(users), pick(projects), pick(areas)));
        break;
      case 5:
        cache.remove<UserProjectPlacementRecord>(pick(slots));
        break;
      case 6:
      case 7:
        cache.upsert(schedule(pick(slots), pick(users), pick(tasks),
                              coin ? std::optional(CalendarDate{2026, 3, 7 + step % 3}) : std::nullopt));
        break;
      case 8:
        cache.remove<UserTaskScheduleRecord>(pick(slots));
        break;
      case 9:
        cache.upsert(gap(pick(slots), pick(dayTexts)));
        break;
      case 10:
        cache.remove<GapRecord>(pick(slots));
        break;
      case 11:
        if (coin) {
          cache.upsert(ProjectRecord{.recordName = pick(projects)});
        } else {
          cache.remove<ProjectRecord>(pick(projects));
        }
        break;
      case 12:
        cache.setDayIndexTimeZone(coin ? *kiritimati : *utc);
        break;
      case 13:
        if (coin) {
          cache.upsert(ProjectSectionRecord{.recordName = pick(slots), .projectRef = pick(projects)});
        } else {
          cache.remove<ProjectSectionRecord>(pick(slots));
        }
        break;
      case 14:
        if (coin) {
          cache.upsert(
              AreaSectionRecord{.recordName = pick(slots), .userRef = pick(users), .areaRef = pick(areas)});
        } else {
          cache.remove<AreaSectionRecord>(pick(slots));
        }
        break;
      case 15:
        if (coin) {
          cache.upsert(UserProjectSectionStateRecord{
              .recordName = pick(slots), .userRef = pick(users), .sectionRef = pick(slots)});
        } else {
          cache.remove<UserProjectSectionStateRecord>(pick(slots));
        }
        break;
      default:
        if (step % 40 == 0) {
          cache.setCurrentUserRef(pick(users));
        }
        break;
      }
      ASSERT_EQ(cache.indexes(), CloudKitCacheIndexes::build(cache.snapshot(), cache.dayIndexTimeZone()))
          << "seed " << seed << ", step " << step << ", action " << action;
    }
  }
}

} // namespace
} // namespace vantrel
