#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::StoreDevice;

/// Names ordered by their sort index, the order in which they are shown.
std::vector<std::string> namesByIndex(std::vector<std::pair<std::int64_t, std::string>> items) {
  std::ranges::sort(items);
  std::vector<std::string> names;
  for (const auto& [index, name] : items) {
    names.push_back(name);
  }
  return names;
}

/// A project's items, tasks and headers, in their shown order.
std::vector<std::string> projectOrder(const CloudKitCache& cache, const std::string& project) {
  std::vector<std::pair<std::int64_t, std::string>> items;
  for (const auto& task : CloudKitCache::namesIn(cache.tasksByHome(), project)) {
    items.emplace_back(cache.tasks().at(task).sortIndex, task);
  }
  for (const auto& header : CloudKitCache::namesIn(cache.sectionsByProject(), project)) {
    items.emplace_back(cache.projectSections().at(header).sortIndex, header);
  }
  return namesByIndex(std::move(items));
}

class EntityMutationTest : public ::testing::Test {
protected:
  void SetUp() override {
    phone_.start();
    laptop_.start();
  }
  CloudKitStore& store() { return phone_.store(); }
  const CloudKitCache& cache() { return phone_.store().cache(); }
  std::int64_t taskIndex(const std::string& task) { return cache().tasks().at(task).sortIndex; }
  std::int64_t placementIndex(const std::string& project) {
    return cache()
        .userProjectPlacements()
        .at(RecordNames::userProjectPlacement(cache().currentUserRef(), project))
        .sortIndex;
  }

  // Sends the phone's changes and checks the laptop ends up holding the same records.
  void expectLaptopMatches() {
    phone_.send();
    laptop_.fetch();
    EXPECT_EQ(laptop_.store().cache().snapshot(), cache().snapshot());
  }

  // Runs a mutation that must be refused with Error; whatever the reason, nothing may change: no record, no
  // pending change, no version. Returns the refusal's message.
  template <typename Error> std::string refusal(const std::function<void()>& mutate) {
    const auto snapshot = cache().snapshot();
    const auto pending = store().syncEngine()->state().pendingRecordZoneChanges();
    const auto version = store().dataVersion();
    std::string message;
    try {
      mutate();
      ADD_FAILURE() << "not refused";
    } catch (const Error& refused) {
      message = refused.what();
    }
    EXPECT_EQ(cache().snapshot(), snapshot);
    EXPECT_EQ(store().syncEngine()->state().pendingRecordZoneChanges(), pending);
    EXPECT_EQ(store().dataVersion(), version);
    return message;
  }

  testing::TemporaryFolder folder_;
  FixedClock clock_{Date{800'000'000}};
  InMemoryCloudDatabase server_{clock_};
  StoreDevice phone_{folder_.path() / "phone", server_, clock_};
  StoreDevice laptop_{folder_.path() / "laptop", server_, clock_};
};

TEST_F(EntityMutationTest, EveryMutationReachesTheOtherDevice) {
  const auto home = store().addArea("  Home  ", "blue", "house");
  EXPECT_EQ(home, "home");
  EXPECT_EQ(store().addArea("Home", "red", "star"), "home-2");
  store().setAreaName("home-2", "");
  store().setAreaColor("home-2", "green");
  store().setAreaHidden("home-2", true);
  const auto task = store().addTaskToArea(home, " Water the plants\n");
  const auto subtask = store().addSubtask(task, "the ferns");
  store().setTaskTitle(task, "Water every plant");
  store().setTaskDone(subtask, true);
  store().setTaskDueDate(task, Date{800'100'000});
  store().setTaskSchedule(task, CalendarDate{2026, 3, 7}, "09:00");
  const auto project = store().addProject(" Garden ", home, "Grow tomatoes");
  store().setProjectName(project, "Vegetable garden");
  store().setProjectPurpose(project, std::nullopt);
  store().setProjectDueDate(project, Date{800'200'000});
  store().setProjectPinned(project, true);
  store().addTaskToProject(project, "Dig");
  const auto item = store().addInboxItem("Call Ann", "about Sunday", clock_.now());
  store().addInboxItem("Buy seeds", std::nullopt, clock_.now());
  store().deleteInboxItem(item);
  expectLaptopMatches();
  EXPECT_EQ(cache().areas().at("home-2").name, "Untitled");
  EXPECT_EQ(cache().tasks().at(task).title, "Water every plant");
  EXPECT_EQ(cache().tasks().at(subtask).parentTaskRef, task);
  EXPECT_EQ(cache().myTaskIDsByDay().at("2026-03-07"), RecordNameSet{task});
  EXPECT_EQ(cache().myTaskSchedules().at(task).gapTime, "09:00");
  EXPECT_EQ(cache().projectsInArea().at(home), RecordNameSet{project});
  EXPECT_EQ(cache().projects().at(project).name, "Vegetable garden");
  EXPECT_EQ(cache().inbox().size(), 1u);
}

TEST_F(EntityMutationTest, NewItemsGoAfterTheLastOrBeforeTheFirst) {
  const auto area = store().addArea("Errands", "", "");
  const auto first = store().addTaskToArea(area, "first");
  const auto second = store().addTaskToArea(area, "second");
  const auto top = store().addTaskToArea(area, "top", {.insertAtTop = true});
  EXPECT_EQ(std::vector({taskIndex(top), taskIndex(first), taskIndex(second)}),
            std::vector<std::int64_t>({0, 1000, 2000}));
  EXPECT_EQ(cache().areas().at(area).sortIndex, 1000);
  EXPECT_EQ(cache().areas().at(store().addArea("Work", "", "")).sortIndex, 2000);
}

TEST_F(EntityMutationTest, ARefusedMutationChangesNothing) {
  const auto area = store().addArea("Errands", "", "");
  const auto task = store().addTaskToArea(area, "Buy milk");
  phone_.settle();
  const struct {
    const char* name;
    std::function<void()> mutate;
    std::string error;
  } cases[] = {
      {"missing task", [&] { store().setTaskDone("t-none", true); },
       "CloudKit record not found: Task/t-none"},
      {"missing area", [&] { store().addTaskToArea("nowhere", "x"); },
       "CloudKit record not found: Area/nowhere"},
      {"missing project", [&] { store().addTaskToProject("p-none", "x"); },
       "CloudKit record not found: Project/p-none"},
      {"area not empty", [&] { store().deleteArea(area); },
       "area errands not empty (projects: 0, area tasks: 1)"},
      {"bridge open",
       [&] {
         store().setLocalBridgeFreeze(true);
         try {
           store().deleteTask(task);
         } catch (...) {
           store().setLocalBridgeFreeze(false);
           throw;
         }
       },
       "App is read-only while the YAML bridge is open"},
  };
  for (const auto& [name, mutate, error] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(refusal<CloudKitStoreError>(mutate), error);
  }
}

TEST_F(EntityMutationTest, DeletesLeaveNothingBehindThatNothingCanReach) {
  const auto area = store().addArea("Errands", "", "");
  const auto task = store().addTaskToArea(area, "Party");
  const auto subtask = store().addSubtask(task, "balloons");
  store().setTaskSchedule(task, CalendarDate{2026, 3, 7}, std::nullopt);
  store().setTaskSchedule(subtask, CalendarDate{2026, 3, 8}, "10:00");
  expectLaptopMatches();

  store().setTaskSchedule(task, std::nullopt, std::nullopt);
  EXPECT_FALSE(cache().myTaskSchedules().contains(task)) << "an empty schedule is deleted, not saved";
  store().deleteTask(task);
  EXPECT_TRUE(cache().tasks().empty());
  EXPECT_TRUE(cache().userTaskSchedules().empty());
  const auto project = store().addProject("Garden", area);
  const auto dig = store().addTaskToProject(project, "Dig");
  store().addSubtask(dig, "find the spade");
  store().setTaskSchedule(dig, CalendarDate{2026, 3, 9}, std::nullopt);
  EXPECT_THROW(store().deleteArea(area), CloudKitStoreError);
  store().deleteProject(project);
  EXPECT_EQ(store().lastWrite()->recordCount, 5)
      << "project, placement, two tasks and a schedule, as one write";
  EXPECT_TRUE(cache().tasks().empty());
  EXPECT_TRUE(cache().userProjectPlacements().empty());
  EXPECT_TRUE(cache().userTaskSchedules().empty());
  store().deleteArea(area);
  EXPECT_TRUE(cache().areas().empty());
  expectLaptopMatches();
  EXPECT_EQ(cache().recordCount(), 1u) << "only the schema record is left";
}

TEST_F(EntityMutationTest, ReordersProduceTheRequestedOrderAndMovesTakeSubtasksAlong) {
  const auto area = store().addArea("Home", "", "");
  const auto project = store().addProject("Garden", area);
  const auto other = store().addProject("Kitchen", area);
  const auto dig = store().addTaskToProject(project, "Dig");
  const auto sow = store().addTaskToProject(project, "Sow");
  const auto header = store().addHeaderToProject(project, "Later");
  const auto areaHeader = store().addHeaderToArea(area, "Someday", true);

  const ProjectItemKey order[] = {ProjectItemKey::section(header), ProjectItemKey::task(sow),
                                  ProjectItemKey::task(dig)};
  store().reorderProject(project, order);
  EXPECT_EQ(projectOrder(cache(), project), (std::vector<std::string>{header, sow, dig}));

  EXPECT_LT(cache().areaSections().at(areaHeader).sortIndex, placementIndex(project))
      << "inserted at the top";
  const AreaItemKey areaOrder[] = {AreaItemKey::project(other), AreaItemKey::section(areaHeader),
                                   AreaItemKey::project(project)};
  store().reorderAreaProjects(area, areaOrder);
  EXPECT_EQ(namesByIndex({{placementIndex(project), project},
                          {placementIndex(other), other},
                          {cache().areaSections().at(areaHeader).sortIndex, areaHeader}}),
            (std::vector<std::string>{other, areaHeader, project}));

  const ProjectItemKey foreign[] = {ProjectItemKey::task(dig)};
  EXPECT_THROW(store().reorderProject(other, foreign), CloudKitStoreError);

  const auto seed = store().addSubtask(dig, "seed");
  store().moveTask(dig, area);
  EXPECT_EQ(cache().tasks().at(dig).homeRef, area);
  EXPECT_EQ(cache().tasks().at(seed).homeRef, area);
  const auto water = store().addTaskToArea(area, "Water");
  const std::string taskOrder[] = {water, dig};
  store().reorderAreaTasks(area, taskOrder);
  EXPECT_LT(taskIndex(water), taskIndex(dig));
  store().deleteHeader(header);
  store().setHeaderTitle(areaHeader, "One day");
  EXPECT_FALSE(cache().projectSections().contains(header));
  EXPECT_EQ(cache().areaSections().at(areaHeader).title, "One day");
}

// Tasks planned into a gap follow it: a new start time moves them, a deletion keeps them on the day or
// returns them to anyday.
TEST_F(EntityMutationTest, GapsCarryTheTasksPlannedIntoThem) {
  const auto area = store().addArea("Home", "", "");
  const auto first = store().addTaskToArea(area, "first");
  const auto second = store().addTaskToArea(area, "second");
  const CalendarDate day{2026, 3, 7};
  const auto morning = store().addGap(day, "09:00", "Morning", true);
  const auto evening = store().addGap(day, "18:00", std::nullopt, false);
  EXPECT_EQ(cache().days().size(), 1u) << "the day record is made once";
  store().setTaskSchedule(first, day, "09:00");
  store().setTaskSchedule(second, day, "18:00");

  store().updateGap(morning, "10:00", std::nullopt, std::nullopt);
  EXPECT_EQ(cache().myTaskSchedules().at(first).gapTime, "10:00");
  EXPECT_EQ(cache().gaps().at(morning).label, "Morning");

  store().deleteGap(morning, GapTasksOnDelete::keepOnDay);
  EXPECT_EQ(cache().myTaskSchedules().at(first).gapTime, std::nullopt);
  EXPECT_EQ(cache().myTaskSchedules().at(first).date, day.noonUTC());
  store().deleteGap(evening, GapTasksOnDelete::returnToAnyday);
  EXPECT_FALSE(cache().myTaskSchedules().contains(second));

  const std::pair<CalendarDate, GapRecord> copies[] = {
      {CalendarDate{2026, 3, 8}, GapRecord{.time = "07:30"}},
      {CalendarDate{2026, 3, 9}, GapRecord{.time = "07:30"}}};
  const auto copied = store().copyGaps(copies);
  ASSERT_EQ(copied.size(), 2u);
  EXPECT_EQ(cache().gaps().at(copied[1]).dayRef, "2026-03-09");
  EXPECT_EQ(cache().days().size(), 3u);
  expectLaptopMatches();
}

TEST(UndoableAction, MenuTitlesCountTheTasks) {
  const auto deleting = [](std::size_t count) {
    return UndoableAction{UndoableAction::DeleteTasks{std::vector<DeletedTaskSnapshot>(count)}}.menuTitle();
  };
  const auto moving = [](std::size_t count) {
    return UndoableAction{UndoableAction::Schedule{std::vector<ScheduleMove>(count)}}.menuTitle();
  };
  EXPECT_EQ(deleting(1), "Undo Delete Task");
  EXPECT_EQ(deleting(3), "Undo Delete of 3 Tasks");
  EXPECT_EQ(deleting(0), "Undo Delete of 0 Tasks");
  EXPECT_EQ(moving(1), "Undo Move");
  EXPECT_EQ(moving(2), "Undo Move of 2 Tasks");
}

TEST_F(EntityMutationTest, UndoBringsDeletedTasksBackUnderTheirNamesAndMovedTasksBackIntoTheirGap) {
  const auto area = store().addArea("Home", "", "");
  const auto party = store().addTaskToArea(area, "Party");
  const auto balloons = store().addSubtask(party, "balloons");
  const auto cake = store().addSubtask(party, "cake");
  store().setTaskSchedule(party, CalendarDate{2026, 3, 7}, "18:00");
  store().setTaskSchedule(cake, CalendarDate{2026, 3, 6}, std::nullopt);
  const auto before = cache().snapshot();

  store().deleteTask(party);
  ASSERT_TRUE(store().lastUndoable());
  EXPECT_EQ(store().lastUndoable()->menuTitle(), "Undo Delete Task");
  EXPECT_TRUE(cache().tasks().empty());
  store().undoLast();
  EXPECT_EQ(cache().snapshot(), before);
  EXPECT_FALSE(store().lastUndoable());
  expectLaptopMatches(); // the restored records go up again

  const std::string moved[] = {party, balloons};
  store().setTaskSchedules(moved, CalendarDate{2026, 3, 9}, std::nullopt);
  EXPECT_EQ(store().lastUndoable()->menuTitle(), "Undo Move of 2 Tasks");
  store().undoLast();
  EXPECT_EQ(cache().myTaskSchedules().at(party).gapTime, "18:00");
  EXPECT_EQ(cache().myTaskSchedules().at(party).date, CalendarDate(2026, 3, 7).noonUTC());
  EXPECT_FALSE(cache().myTaskSchedules().contains(balloons)) << "it had no schedule before the move";
  store().undoLast();
  EXPECT_EQ(cache().snapshot(), before) << "nothing left to undo";
}

// Inserting directly after an item halves the room to the next one, until the list is renumbered; the
// order stays what the user asked for throughout.
TEST_F(EntityMutationTest, ItemsAddedBelowAnotherLandRightAfterIt) {
  const auto area = store().addArea("Home", "", "");
  const auto project = store().addProject("Garden", area);
  const auto first = store().addTaskToProject(project, "first");
  const auto last = store().addTaskToProject(project, "last");
  std::vector<std::string> expected{first};
  for (int insertion = 0; insertion < 12; ++insertion) {
    expected.insert(expected.begin() + 1, store().addTaskBelow(first, "below " + std::to_string(insertion)));
  }
  expected.push_back(last);
  const auto header = store().addHeaderToProject(project, "Later");
  expected.push_back(header);
  const auto underHeader = store().addTaskBelowHeader(header, "under the header");
  expected.push_back(underHeader);
  EXPECT_EQ(projectOrder(cache(), project), expected);

  const auto areaHeader = store().addHeaderToArea(area, "Someday");
  const auto later = store().addProjectBelowHeader(areaHeader, "Pond");
  EXPECT_GT(placementIndex(later), cache().areaSections().at(areaHeader).sortIndex);
  store().setProjectStatus(later, "archived");
  EXPECT_TRUE(cache().projects().at(later).isArchived());
  EXPECT_THROW(store().setProjectStatus(later, "paused"), std::invalid_argument);
}

TEST_F(EntityMutationTest, TriageTurnsAnInboxItemIntoATaskAndCanNoteItInThePurpose) {
  const auto area = store().addArea("Home", "", "");
  const auto project = store().addProject("Garden", area, "Grow food");
  const Date captured = CalendarDate{2026, 3, 7}.noonUTC();
  const auto item = store().addInboxItem("Buy seeds", "tomatoes", captured);
  const auto task = store().triageInboxItem(item, area, project, true);
  EXPECT_EQ(cache().tasks().at(task).homeRef, project);
  EXPECT_EQ(cache().tasks().at(task).title, "Buy seeds");
  EXPECT_TRUE(cache().inbox().empty());
  EXPECT_EQ(cache().projects().at(project).purpose,
            "Grow food\n" + TimeFormat::inboxTriageNote("Buy seeds", "tomatoes", captured));
  const auto loose = store().triageInboxItem(store().addInboxItem("Call Ann", std::nullopt, captured), area,
                                             std::nullopt, true);
  EXPECT_EQ(cache().tasks().at(loose).homeRef, area);
}

TEST_F(EntityMutationTest, TasksAddedAboveTheFirstHeaderEndTheUnsectionedOnes) {
  const auto area = store().addArea("Home", "", "");
  const NewTaskOptions above{.aboveFirstSection = true};

  const auto bare = store().addProject("No headers", area);
  const auto only = store().addTaskToProject(bare, "only");
  EXPECT_EQ(projectOrder(cache(), bare), std::vector({only, store().addTaskToProject(bare, "next", above)}));

  const auto headed = store().addProject("Header first", area);
  const auto header = store().addHeaderToProject(headed, "Now");
  const auto sectioned = store().addTaskToProject(headed, "under it");
  const auto first = store().addTaskToProject(headed, "first", above);
  EXPECT_EQ(projectOrder(cache(), headed), std::vector({first, header, sectioned}));

  // Enough insertions to use up the room between the last unsectioned task and the header.
  std::vector<std::string> expected{first};
  for (int insertion = 0; insertion < 14; ++insertion) {
    expected.push_back(store().addTaskToProject(headed, "more " + std::to_string(insertion), above));
  }
  const auto top = store().addTaskToProject(headed, "top", {.insertAtTop = true, .aboveFirstSection = true});
  expected.insert(expected.begin(), top);
  expected.insert(expected.end(), {header, sectioned});
  EXPECT_EQ(projectOrder(cache(), headed), expected);

  const auto planned = store().addTaskToProject(
      headed, "planned", {.plannedDate = CalendarDate{2026, 3, 7}, .aboveFirstSection = true});
  EXPECT_EQ(cache().myTaskIDsByDay().at("2026-03-07"), RecordNameSet{planned});
  EXPECT_THROW(store().addTaskToArea(area, "nowhere to go", above), std::invalid_argument);
  expectLaptopMatches();
}

TEST_F(EntityMutationTest, ChosenRecordNamesAreKeptWhenFreeAndWellFormed) {
  const auto area = store().addArea("Home", "", "");
  const auto project = store().addProject("Garden", area);
  EXPECT_EQ(store().addTaskToProject(project, "Dig", {.recordName = "t-dig"}), "t-dig");
  EXPECT_EQ(store().addTaskToArea(area, "Sweep", {.recordName = "t-sweep"}), "t-sweep");
  EXPECT_EQ(store().addSubtask("t-dig", "spade", "t-spade"), "t-spade");
  EXPECT_EQ(store().addInboxItem("Call Ann", std::nullopt, clock_.now(), "i-ann"), "i-ann");
  EXPECT_EQ(store().addGap(CalendarDate{2026, 3, 7}, "09:00", std::nullopt, false, "g-morning"), "g-morning");
  // A name is unique within its record type only.
  EXPECT_EQ(store().addInboxItem("Dig", std::nullopt, clock_.now(), "t-dig"), "t-dig");
  phone_.settle();

  const struct {
    const char* name;
    std::function<void()> add;
  } refused[] = {
      {"task name in use", [&] { store().addTaskToProject(project, "x", {.recordName = "t-sweep"}); }},
      {"subtask name in use", [&] { store().addSubtask("t-dig", "x", "t-dig"); }},
      {"inbox name in use", [&] { store().addInboxItem("x", std::nullopt, clock_.now(), "i-ann"); }},
      {"gap name in use",
       [&] {
         store().addGap(CalendarDate{2026, 3, 8}, "10:00", std::nullopt, false, "g-morning");
       }},
      {"empty", [&] { store().addTaskToArea(area, "x", {.recordName = ""}); }},
      {"reserved underscore", [&] { store().addTaskToArea(area, "x", {.recordName = "_t"}); }},
      {"space", [&] { store().addTaskToArea(area, "x", {.recordName = "t one"}); }},
      {"not ASCII", [&] { store().addTaskToArea(area, "x", {.recordName = "t-caf\xc3\xa9"}); }},
      {"too long", [&] { store().addTaskToArea(area, "x", {.recordName = std::string(256, 't')}); }},
      {"planned task in use",
       [&] {
         store().addTaskToArea(area, "x", {.plannedDate = CalendarDate{2026, 3, 7}, .recordName = "t-dig"});
       }},
  };
  for (const auto& [name, add] : refused) {
    SCOPED_TRACE(name);
    refusal<std::invalid_argument>(add);
  }
  EXPECT_EQ(store().addTaskToArea(area, "x", {.recordName = std::string(255, 't')}), std::string(255, 't'));
}

TEST_F(EntityMutationTest, TheBridgeLockPassesTheBridgesOwnFreezeAndReachesTheOtherDevice) {
  const auto area = store().addArea("Home", "", "");
  const std::vector<std::string> projects{store().addProject("Garden", area),
                                          store().addProject("Pond", area)};
  phone_.settle();
  store().setLocalBridgeFreeze(true);

  const std::vector<std::string> withMissing{projects[0], "p-gone"};
  EXPECT_THROW(store().bridgeLockProjects(withMissing, "Robin's laptop", Date{800'000'100}),
               CloudKitStoreError);
  EXPECT_FALSE(cache().projects().at(projects[0]).bridgeLockedBy);
  EXPECT_FALSE(store().bridgeIsApplying());

  store().bridgeLockProjects(projects, "Robin's laptop", Date{800'000'100});
  EXPECT_FALSE(store().bridgeIsApplying());
  EXPECT_THROW(store().setProjectName(projects[0], "Not now"), CloudKitStoreError);
  phone_.send();
  laptop_.fetch();
  for (const auto& project : projects) {
    const auto& locked = laptop_.store().cache().projects().at(project);
    EXPECT_EQ(locked.bridgeLockedBy, cache().currentUserRef());
    EXPECT_EQ(locked.bridgeLockedByName, "Robin's laptop");
    EXPECT_EQ(locked.bridgeLockedAt, Date{800'000'100});
  }

  store().bridgeUnlockProjects(projects);
  store().setLocalBridgeFreeze(false);
  phone_.send();
  laptop_.fetch();
  for (const auto& project : projects) {
    const auto& unlocked = laptop_.store().cache().projects().at(project);
    EXPECT_FALSE(unlocked.bridgeLockedBy || unlocked.bridgeLockedByName || unlocked.bridgeLockedAt);
  }

  phone_.store().stop();
  EXPECT_THROW(store().bridgeLockProjects(projects, "Robin's laptop", Date{800'000'200}), CloudKitStoreError);
}

} // namespace
} // namespace vantrel
