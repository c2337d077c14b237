#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/Rules/AreaRules.hpp"
#include "VantrelCore/Store/Rules/GapRules.hpp"
#include "VantrelCore/Store/Rules/HeaderRules.hpp"
#include "VantrelCore/Store/Rules/InboxRules.hpp"
#include "VantrelCore/Store/Rules/ProjectRules.hpp"
#include "VantrelCore/Store/Rules/TaskRules.hpp"
#include "tests/Support/RecordingWriter.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

/// Names ordered by their sort index, the order in which they are shown.
std::vector<std::string> namesByIndex(std::vector<std::pair<std::int64_t, std::string>> items) {
  std::ranges::sort(items);
  std::vector<std::string> names;
  for (const auto& [index, name] : items) {
    names.push_back(name);
  }
  return names;
}

class PlannerRulesTest : public ::testing::Test {
protected:
  PlannerRulesTest() { cache_.setCurrentUserRef("_robin"); }

  /// A project's items, tasks and headers, in their shown order.
  std::vector<std::string> projectOrder(const std::string& project) const {
    std::vector<std::pair<std::int64_t, std::string>> items;
    for (const auto& task : CloudKitCache::namesIn(cache_.tasksByHome(), project)) {
      items.emplace_back(cache_.tasks().at(task).sortIndex, task);
    }
    for (const auto& header : CloudKitCache::namesIn(cache_.sectionsByProject(), project)) {
      items.emplace_back(cache_.projectSections().at(header).sortIndex, header);
    }
    return namesByIndex(std::move(items));
  }
  std::int64_t taskIndex(const std::string& task) const { return cache_.tasks().at(task).sortIndex; }
  std::int64_t placementIndex(const std::string& project) const {
    return cache_.myPlacement(project)->sortIndex;
  }

  CloudKitCache cache_;
  testing::RecordingWriter writer_{cache_};
  RandomUUIDGenerator uuids_;
  FixedClock clock_{Date{800'000'000}};
  RuleContext context_{cache_, writer_, uuids_, clock_};
  AreaRules areas_{context_};
  ProjectRules projects_{context_};
  HeaderRules headers_{context_};
  TaskRules tasks_{context_};
  GapRules gaps_{context_};
  InboxRules inbox_{context_};
};

TEST_F(PlannerRulesTest, NewItemsGoAfterTheLastOrBeforeTheFirst) {
  const auto home = areas_.add("  Home  ", "blue", "house");
  EXPECT_EQ(home, "home");
  EXPECT_EQ(areas_.add("Home", "red", "star"), "home-2");
  areas_.rename("home-2", "");
  EXPECT_EQ(cache_.areas().at("home-2").name, "Untitled");
  const auto first = tasks_.addToArea(home, " first\n");
  const auto second = tasks_.addToArea(home, "second");
  const auto top = tasks_.addToArea(home, "top", {.insertAtTop = true});
  EXPECT_EQ(cache_.tasks().at(first).title, "first");
  EXPECT_EQ(std::vector({taskIndex(top), taskIndex(first), taskIndex(second)}),
            std::vector<std::int64_t>({0, 1000, 2000}));
  EXPECT_EQ(std::vector({cache_.areas().at(home).sortIndex, cache_.areas().at("home-2").sortIndex}),
            std::vector<std::int64_t>({1000, 2000}));
  const auto subtask = tasks_.addSubtask(first, "sub");
  EXPECT_EQ(cache_.tasks().at(subtask).parentTaskRef, first);
  EXPECT_EQ(cache_.tasks().at(subtask).homeRef, home);
}

// Whatever the reason, a refused rule writes nothing: every check comes before the first write.
TEST_F(PlannerRulesTest, ARefusedRuleWritesNothing) {
  const auto area = areas_.add("Errands", "", "");
  const auto project = projects_.add("Garden", area);
  const auto task = tasks_.addToArea(area, "Buy milk", {.recordName = "t-milk"});
  const auto header = headers_.addToProject(project, "Later");
  // The area shows the garden and one project shared with the user; what is archived or gone it does not.
  projects_.setStatus(projects_.add("Old garden", area), "archived");
  RecordMap<ProjectRecord> shared;
  for (const auto& [name, status] : {std::pair{"p-shared", "active"}, std::pair{"p-shared-old", "archived"},
                                     std::pair{"p-share-ended", ""}}) {
    if (*status) {
      shared[name] = {.recordName = name, .name = name, .status = status};
    }
    cache_.upsert(UserProjectPlacementRecord{.recordName = RecordNames::userProjectPlacement("_robin", name),
                                             .userRef = "_robin",
                                             .projectRef = name,
                                             .areaRef = area});
  }
  inbox_.add("Call Ann", std::nullopt, clock_.now(), "i-ann");
  gaps_.add(CalendarDate{2026, 3, 7}, "09:00", std::nullopt, false, "g-morning");
  const ProjectItemKey foreign[] = {ProjectItemKey::task(task)};
  const ProjectItemKey twice[] = {ProjectItemKey::section(header), ProjectItemKey::section(header)};
  const std::string withMissing[] = {project, "p-gone"};
  const auto invalidName = [](std::string name) {
    return "invalid record name \"" + name +
           "\": use 1 to 255 printable ASCII characters, not starting with _";
  };
  const struct {
    const char* name;
    std::function<void()> rule;
    std::string error;
  } cases[] = {
      {"missing task", [&] { tasks_.setDone("t-none", true); }, "CloudKit record not found: Task/t-none"},
      {"missing area", [&] { tasks_.addToArea("nowhere", "x"); }, "No such area in the cache: nowhere"},
      {"missing area deleted", [&] { areas_.remove("nowhere", shared); },
       "No such area in the cache: nowhere"},
      {"missing project", [&] { tasks_.addToProject("p-none", "x"); },
       "CloudKit record not found: Project/p-none"},
      {"area not empty", [&] { areas_.remove(area, shared); },
       "area errands not empty (projects: 2, area tasks: 1)"},
      {"missing move target", [&] { tasks_.move(task, "p-gone"); },
       "CloudKit record not found: Project/p-gone"},
      {"foreign item in an order", [&] { projects_.reorderItems(project, foreign); },
       "CloudKit record not found: Task/t-milk"},
      {"item twice in an order", [&] { projects_.reorderItems(project, twice); },
       "CloudKit record not found: Task/" + header},
      {"one of the locked projects missing",
       [&] { projects_.bridgeLock(withMissing, "laptop", clock_.now()); },
       "CloudKit record not found: Project/p-gone"},
      {"unknown status", [&] { projects_.setStatus(project, "paused"); },
       "unknown project status 'paused': expected active or archived"},
      {"header above an area's tasks", [&] { tasks_.addToArea(area, "x", {.aboveFirstSection = true}); },
       "aboveFirstSection places a task among a project's headers; areas have none"},
      {"task name in use", [&] { tasks_.addToProject(project, "x", {.recordName = "t-milk"}); },
       "record name t-milk is already in use"},
      {"subtask name in use", [&] { tasks_.addSubtask(task, "x", "t-milk"); },
       "record name t-milk is already in use"},
      {"inbox name in use", [&] { inbox_.add("x", std::nullopt, clock_.now(), "i-ann"); },
       "record name i-ann is already in use"},
      {"gap name in use",
       [&] {
         gaps_.add(CalendarDate{2026, 3, 8}, "10:00", std::nullopt, false, "g-morning");
       },
       "record name g-morning is already in use"},
      {"planned task name in use",
       [&] {
         tasks_.addToArea(area, "x", {.plannedDate = CalendarDate{2026, 3, 7}, .recordName = "t-milk"});
       },
       "record name t-milk is already in use"},
      {"empty name", [&] { tasks_.addToArea(area, "x", {.recordName = ""}); }, invalidName("")},
      {"reserved underscore", [&] { tasks_.addToArea(area, "x", {.recordName = "_t"}); }, invalidName("_t")},
      {"space", [&] { tasks_.addToArea(area, "x", {.recordName = "t one"}); }, invalidName("t one")},
      {"not ASCII", [&] { tasks_.addToArea(area, "x", {.recordName = "t-caf\xc3\xa9"}); },
       invalidName("t-caf\xc3\xa9")},
      {"too long", [&] { tasks_.addToArea(area, "x", {.recordName = std::string(256, 't')}); },
       invalidName(std::string(256, 't'))},
  };
  writer_.take();
  const auto before = cache_.snapshot();
  for (const auto& [name, rule, error] : cases) {
    SCOPED_TRACE(name);
    try {
      rule();
      ADD_FAILURE() << "not refused";
    } catch (const std::exception& refused) {
      EXPECT_EQ(refused.what(), error);
    }
    EXPECT_EQ(writer_.take(), std::vector<std::string>{});
  }
  EXPECT_EQ(cache_.snapshot(), before);
  // A name is unique within its record type only, and 255 characters are allowed.
  EXPECT_EQ(inbox_.add("Milk", std::nullopt, clock_.now(), "t-milk"), "t-milk");
  EXPECT_EQ(tasks_.addToArea(area, "x", {.recordName = std::string(255, 't')}), std::string(255, 't'));
}

// An area that shows nothing goes, even with archived projects filed in it: they keep their placement and
// their tasks, and stay in the archives.
TEST_F(PlannerRulesTest, AnAreaThatShowsNothingIsDeletedAndItsArchivedProjectsKept) {
  const auto area = areas_.add("Errands", "", "");
  const auto archived = projects_.add("Old garden", area);
  const auto dig = tasks_.addToProject(archived, "Dig");
  projects_.setStatus(archived, "archived");
  const RecordMap<ProjectRecord> shared{
      {"p-shared-old", {.recordName = "p-shared-old", .status = std::string(ProjectRecord::archivedStatus)}}};
  for (const std::string project : {"p-shared-old", "p-gone"}) {
    cache_.upsert(
        UserProjectPlacementRecord{.recordName = RecordNames::userProjectPlacement("_robin", project),
                                   .userRef = "_robin",
                                   .projectRef = project,
                                   .areaRef = area});
  }
  areas_.remove(area, shared);
  EXPECT_FALSE(cache_.areas().contains(area));
  EXPECT_TRUE(cache_.projects().at(archived).isArchived());
  EXPECT_EQ(cache_.myPlacement(archived)->areaRef, area);
  EXPECT_TRUE(cache_.tasks().contains(dig));
}

// Each delete lists everything first and then writes children before what they hang on, so no moment
// shows a record whose parent is gone.
TEST_F(PlannerRulesTest, DeletesTakeEverythingOnlyTheyReachChildrenFirst) {
  const auto area = areas_.add("Errands", "", "");
  const auto party = tasks_.addToArea(area, "Party", {.recordName = "t-party"});
  tasks_.addSubtask(party, "balloons", "t-balloons");
  tasks_.setSchedule(party, CalendarDate{2026, 3, 7}, std::nullopt);
  tasks_.setSchedule("t-balloons", CalendarDate{2026, 3, 8}, "10:00");
  const auto scheduleOf = [](std::string_view task) {
    return "remove UserTaskSchedule/" + RecordNames::userTaskSchedule("_robin", task);
  };
  writer_.take();
  tasks_.setSchedule(party, std::nullopt, std::nullopt);
  EXPECT_EQ(writer_.take(), std::vector{scheduleOf(party)}) << "an empty schedule is deleted, not saved";
  tasks_.remove(std::vector<std::string>{"t-balloons", party});
  EXPECT_EQ(writer_.take(), (std::vector<std::string>{scheduleOf("t-balloons"), "remove Task/t-balloons",
                                                      "remove Task/t-party"}))
      << "a listed subtask goes once, with its parent";

  const auto project = projects_.add("Garden", area);
  const auto dig = tasks_.addToProject(project, "Dig", {.recordName = "t-dig"});
  tasks_.addSubtask(dig, "find the spade", "t-spade");
  tasks_.setSchedule("t-spade", CalendarDate{2026, 3, 9}, std::nullopt);
  const auto header = headers_.addToProject(project, "Later");
  cache_.upsert(
      UserProjectSectionStateRecord{.recordName = "fold", .userRef = "_robin", .sectionRef = header});
  headers_.addToArea(area, "Someday");
  writer_.take();
  projects_.remove(project);
  const auto placement = RecordNames::userProjectPlacement("_robin", project);
  const auto removed = writer_.take();
  EXPECT_EQ(removed.front(), scheduleOf("t-spade"));
  EXPECT_EQ(
      std::vector(removed.begin() + 1, removed.begin() + 3),
      (std::vector<std::string>{"remove UserProjectSectionState/fold", "remove ProjectSection/" + header}));
  EXPECT_EQ(std::set(removed.begin() + 3, removed.begin() + 5),
            (std::set<std::string>{"remove Task/t-dig", "remove Task/t-spade"}));
  EXPECT_EQ(
      std::vector(removed.begin() + 5, removed.end()),
      (std::vector<std::string>{"remove UserProjectPlacement/" + placement, "remove Project/" + project}));
  areas_.remove(area, {});
  EXPECT_EQ(cache_.recordCount(), 0u) << "the area's headers go with it";
}

TEST_F(PlannerRulesTest, ReordersProduceTheRequestedOrderAndMovesTakeSubtasksAlong) {
  const auto area = areas_.add("Home", "", "");
  const auto project = projects_.add("Garden", area);
  const auto other = projects_.add("Kitchen", area);
  const auto dig = tasks_.addToProject(project, "Dig");
  const auto sow = tasks_.addToProject(project, "Sow");
  const auto header = headers_.addToProject(project, "Later");
  const auto areaHeader = headers_.addToArea(area, "Someday", true);

  const ProjectItemKey order[] = {ProjectItemKey::section(header), ProjectItemKey::task(sow),
                                  ProjectItemKey::task(dig)};
  projects_.reorderItems(project, order);
  EXPECT_EQ(projectOrder(project), (std::vector<std::string>{header, sow, dig}));

  EXPECT_LT(cache_.areaSections().at(areaHeader).sortIndex, placementIndex(project)) << "inserted at the top";
  const AreaItemKey areaOrder[] = {AreaItemKey::project(other), AreaItemKey::section(areaHeader),
                                   AreaItemKey::project(project)};
  areas_.reorderItems(area, areaOrder);
  EXPECT_EQ(namesByIndex({{placementIndex(project), project},
                          {placementIndex(other), other},
                          {cache_.areaSections().at(areaHeader).sortIndex, areaHeader}}),
            (std::vector<std::string>{other, areaHeader, project}));

  const auto seed = tasks_.addSubtask(dig, "seed");
  tasks_.move(dig, area);
  EXPECT_EQ(cache_.tasks().at(dig).homeRef, area);
  EXPECT_EQ(cache_.tasks().at(seed).homeRef, area);
  EXPECT_EQ(cache_.tasks().at(seed).parentTaskRef, dig);
  tasks_.move(seed, project);
  EXPECT_FALSE(cache_.tasks().at(seed).parentTaskRef) << "a subtask moved alone becomes a task";
  const auto water = tasks_.addToArea(area, "Water");
  const std::string taskOrder[] = {water, dig};
  areas_.reorderTasks(area, taskOrder);
  EXPECT_LT(taskIndex(water), taskIndex(dig));
  headers_.remove(header);
  headers_.setTitle(areaHeader, "One day");
  EXPECT_FALSE(cache_.projectSections().contains(header));
  EXPECT_EQ(cache_.areaSections().at(areaHeader).title, "One day");
}

// Tasks planned into a gap follow it: a new start time moves them, a deletion keeps them on the day or
// returns them to anyday.
TEST_F(PlannerRulesTest, GapsCarryTheTasksPlannedIntoThem) {
  const auto area = areas_.add("Home", "", "");
  const auto first = tasks_.addToArea(area, "first");
  const auto second = tasks_.addToArea(area, "second");
  const auto written = tasks_.addToArea(area, "written elsewhere");
  const CalendarDate day{2026, 3, 7};
  const auto morning = gaps_.add(day, "9:00", "Morning", true);
  const auto evening = gaps_.add(day, "18:00", std::nullopt, false);
  EXPECT_EQ(cache_.days().size(), 1u) << "the day record is made once";
  EXPECT_EQ(cache_.gaps().at(morning).time, "09:00");
  tasks_.setSchedule(first, day, "9:00");
  EXPECT_EQ(cache_.myTaskSchedules().at(first).gapTime, "09:00");
  tasks_.setSchedule(second, day, "18:00");
  // Another writer may leave the hour unpadded: still the same time as the gap's.
  cache_.upsert(UserTaskScheduleRecord{.recordName = RecordNames::userTaskSchedule("_robin", written),
                                       .userRef = "_robin",
                                       .taskRef = written,
                                       .date = day.noonUTC(),
                                       .gapTime = "9:00"});

  writer_.take();
  gaps_.update(morning, "9:00", std::nullopt, std::nullopt);
  EXPECT_EQ(writer_.take(), std::vector<std::string>{"save Gap/" + morning})
      << "the same time of day moves no task";
  gaps_.update(morning, "10:00", std::nullopt, std::nullopt);
  EXPECT_EQ(cache_.myTaskSchedules().at(first).gapTime, "10:00");
  EXPECT_EQ(cache_.myTaskSchedules().at(written).gapTime, "10:00");
  EXPECT_EQ(cache_.gaps().at(morning).label, "Morning");

  gaps_.remove(morning, GapTasksOnDelete::keepOnDay);
  EXPECT_EQ(cache_.myTaskSchedules().at(first).gapTime, std::nullopt);
  EXPECT_EQ(cache_.myTaskSchedules().at(first).date, day.noonUTC());
  gaps_.remove(evening, GapTasksOnDelete::returnToAnyday);
  EXPECT_FALSE(cache_.myTaskSchedules().contains(second));

  const std::pair<CalendarDate, GapRecord> copies[] = {
      {CalendarDate{2026, 3, 8}, GapRecord{.time = "07:30"}},
      {CalendarDate{2026, 3, 9}, GapRecord{.time = "07:30"}}};
  const auto copied = gaps_.copy(copies);
  ASSERT_EQ(copied.size(), 2u);
  EXPECT_EQ(cache_.gaps().at(copied[1]).dayRef, "2026-03-09");
  EXPECT_EQ(cache_.days().size(), 3u);
}

TEST_F(PlannerRulesTest, UndoBringsDeletedTasksBackUnderTheirNamesAndMovedTasksBackIntoTheirGap) {
  const auto area = areas_.add("Home", "", "");
  const auto party = tasks_.addToArea(area, "Party");
  const auto balloons = tasks_.addSubtask(party, "balloons");
  const auto cake = tasks_.addSubtask(party, "cake");
  tasks_.setSchedule(party, CalendarDate{2026, 3, 7}, "18:00");
  tasks_.setSchedule(cake, CalendarDate{2026, 3, 6}, std::nullopt);
  const auto before = cache_.snapshot();

  const auto deleted = tasks_.remove(std::vector{party});
  EXPECT_EQ(deleted.menuTitle(), "Undo Delete Task");
  EXPECT_TRUE(cache_.tasks().empty());
  tasks_.undo(deleted);
  EXPECT_EQ(cache_.snapshot(), before);

  const TaskSchedule moves[] = {{party, CalendarDate{2026, 3, 9}, std::nullopt},
                                {balloons, CalendarDate{2026, 3, 9}, std::nullopt}};
  const auto moved = tasks_.setSchedules(moves);
  EXPECT_EQ(moved.menuTitle(), "Undo Move of 2 Tasks");
  EXPECT_EQ(cache_.myTaskSchedules().at(balloons).date, CalendarDate(2026, 3, 9).noonUTC());
  tasks_.undo(moved);
  EXPECT_EQ(cache_.snapshot(), before) << "the party is back in its gap; the balloons had no schedule";
}

// Inserting directly after an item halves the room to the next one, until the list is renumbered; the
// order stays what the user asked for throughout.
TEST_F(PlannerRulesTest, ItemsAddedBelowAnotherLandRightAfterIt) {
  const auto area = areas_.add("Home", "", "");
  const auto project = projects_.add("Garden", area);
  const auto first = tasks_.addToProject(project, "first");
  const auto last = tasks_.addToProject(project, "last");
  std::vector<std::string> expected{first};
  for (int insertion = 0; insertion < 12; ++insertion) {
    expected.insert(expected.begin() + 1, tasks_.addBelow(first, "below " + std::to_string(insertion)));
  }
  expected.push_back(last);
  const auto header = headers_.addToProject(project, "Later");
  expected.push_back(header);
  const auto underHeader = tasks_.addBelowHeader(header, "under the header");
  expected.push_back(underHeader);
  EXPECT_EQ(projectOrder(project), expected);

  const auto sub = tasks_.addSubtask(first, "sub");
  const auto subLast = tasks_.addSubtask(first, "sub last");
  std::vector<std::pair<std::int64_t, std::string>> subtasks{{taskIndex(sub), sub},
                                                             {taskIndex(subLast), subLast}};
  for (int insertion = 0; insertion < 12; ++insertion) {
    const auto below = tasks_.addBelow(sub, "sub below");
    EXPECT_EQ(cache_.tasks().at(below).parentTaskRef, first);
    subtasks.emplace_back(0, below);
  }
  for (auto& [index, name] : subtasks) {
    index = taskIndex(name);
  }
  const auto subOrder = namesByIndex(subtasks);
  EXPECT_EQ(subOrder.front(), sub);
  EXPECT_EQ(subOrder.back(), subLast);

  const auto areaHeader = headers_.addToArea(area, "Someday");
  const auto after = projects_.add("Kitchen", area);
  std::vector<std::string> below;
  for (int insertion = 0; insertion < 12; ++insertion) {
    below.push_back(projects_.addBelowHeader(areaHeader, "Pond"));
    EXPECT_GT(placementIndex(below.back()), cache_.areaSections().at(areaHeader).sortIndex);
    EXPECT_LT(placementIndex(below.back()), placementIndex(after));
  }
  projects_.setStatus(below.back(), "archived");
  EXPECT_TRUE(cache_.projects().at(below.back()).isArchived());
}

TEST_F(PlannerRulesTest, TriageTurnsAnInboxItemIntoATaskAndCanNoteItInThePurpose) {
  const auto area = areas_.add("Home", "", "");
  const auto project = projects_.add("Garden", area, "Grow food");
  const Date captured = CalendarDate{2026, 3, 7}.noonUTC();
  const auto item = inbox_.add("Buy seeds", "tomatoes", captured);
  const auto task = inbox_.triage(item, area, project, true);
  EXPECT_EQ(cache_.tasks().at(task).homeRef, project);
  EXPECT_EQ(cache_.tasks().at(task).title, "Buy seeds");
  EXPECT_TRUE(cache_.inbox().empty());
  EXPECT_EQ(cache_.projects().at(project).purpose,
            "Grow food\n" + TimeFormat::inboxTriageNote("Buy seeds", "tomatoes", captured));
  const auto loose = inbox_.triage(inbox_.add("Call Ann", std::nullopt, captured), area, std::nullopt, true);
  EXPECT_EQ(cache_.tasks().at(loose).homeRef, area);
  writer_.take();
  inbox_.remove(inbox_.add("Water", std::nullopt, captured, "i-water"));
  EXPECT_EQ(writer_.take(), (std::vector<std::string>{"save InboxItem/i-water", "remove InboxItem/i-water"}));
}

TEST_F(PlannerRulesTest, TasksAddedAboveTheFirstHeaderEndTheUnsectionedOnes) {
  const auto area = areas_.add("Home", "", "");
  const NewTaskOptions above{.aboveFirstSection = true};

  const auto bare = projects_.add("No headers", area);
  const auto only = tasks_.addToProject(bare, "only");
  EXPECT_EQ(projectOrder(bare), std::vector({only, tasks_.addToProject(bare, "next", above)}));

  const auto headed = projects_.add("Header first", area);
  const auto header = headers_.addToProject(headed, "Now");
  const auto sectioned = tasks_.addToProject(headed, "under it");
  const auto first = tasks_.addToProject(headed, "first", above);
  EXPECT_EQ(projectOrder(headed), std::vector({first, header, sectioned}));

  // Enough insertions to use up the room between the last unsectioned task and the header.
  std::vector<std::string> expected{first};
  for (int insertion = 0; insertion < 14; ++insertion) {
    expected.push_back(tasks_.addToProject(headed, "more " + std::to_string(insertion), above));
  }
  const auto top = tasks_.addToProject(headed, "top", {.insertAtTop = true, .aboveFirstSection = true});
  expected.insert(expected.begin(), top);
  expected.insert(expected.end(), {header, sectioned});
  EXPECT_EQ(projectOrder(headed), expected);

  const auto planned = tasks_.addToProject(
      headed, "planned", {.plannedDate = CalendarDate{2026, 3, 7}, .aboveFirstSection = true});
  EXPECT_EQ(cache_.myTaskIDsByDay().at("2026-03-07"), RecordNameSet{planned});
}

TEST_F(PlannerRulesTest, TheBridgeLockMarksEveryProjectAndUnlockClearsIt) {
  const auto area = areas_.add("Home", "", "");
  const std::vector<std::string> projects{projects_.add("Garden", area), projects_.add("Pond", area)};
  projects_.bridgeLock(projects, "Robin's laptop", Date{800'000'100});
  for (const auto& project : projects) {
    const auto& locked = cache_.projects().at(project);
    EXPECT_EQ(locked.bridgeLockedBy, "_robin");
    EXPECT_EQ(locked.bridgeLockedByName, "Robin's laptop");
    EXPECT_EQ(locked.bridgeLockedAt, Date{800'000'100});
  }
  projects_.bridgeUnlock(projects);
  for (const auto& project : projects) {
    const auto& unlocked = cache_.projects().at(project);
    EXPECT_FALSE(unlocked.bridgeLockedBy || unlocked.bridgeLockedByName || unlocked.bridgeLockedAt);
  }
}

} // namespace
} // namespace vantrel
