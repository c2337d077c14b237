#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <functional>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::StoreDevice;

class EntityMutationTest : public ::testing::Test {
protected:
  void SetUp() override {
    phone_.start();
    laptop_.start();
  }
  CloudKitStore& store() { return phone_.store(); }
  const CloudKitCache& cache() { return phone_.store().cache(); }
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
  const auto home = store().addArea("Home", "blue", "house");
  store().addArea("Home", "red", "star");
  store().setAreaName("home-2", "");
  store().setAreaColor("home-2", "green");
  store().setAreaHidden("home-2", true);
  const auto task = store().addTaskToArea(home, "Water the plants");
  const auto subtask = store().addSubtask(task, "the ferns");
  store().setTaskTitle(task, "Water every plant");
  store().setTaskDone(subtask, true);
  store().setTaskDueDate(task, Date{800'100'000});
  store().setTaskSchedule(task, CalendarDate{2026, 3, 7}, "09:00");
  const auto project = store().addProject("Garden", home, "Grow tomatoes");
  store().setProjectName(project, "Vegetable garden");
  store().setProjectPurpose(project, std::nullopt);
  store().setProjectDueDate(project, Date{800'200'000});
  store().setProjectPinned(project, true);
  const auto dig = store().addTaskToProject(project, "Dig");
  const auto header = store().addHeaderToProject(project, "Later");
  const ProjectItemKey order[] = {ProjectItemKey::section(header), ProjectItemKey::task(dig)};
  store().reorderProject(project, order);
  store().moveTask(subtask, project);
  store().updateGap(store().addGap(CalendarDate{2026, 3, 7}, "09:00", "Morning", true), "10:00", std::nullopt,
                    false);
  const auto item = store().addInboxItem("Call Ann", "about Sunday", clock_.now());
  store().addInboxItem("Buy seeds", std::nullopt, clock_.now());
  store().deleteInboxItem(item);
  expectLaptopMatches();
  EXPECT_EQ(cache().tasks().at(task).title, "Water every plant");
  EXPECT_EQ(cache().myTaskSchedules().at(task).gapTime, "10:00");
  EXPECT_EQ(cache().projects().at(project).name, "Vegetable garden");
  EXPECT_EQ(cache().inbox().size(), 1u);
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

TEST_F(EntityMutationTest, ADeleteOfManyRecordsIsOneWrite) {
  const auto area = store().addArea("Errands", "", "");
  const auto project = store().addProject("Garden", area);
  const auto dig = store().addTaskToProject(project, "Dig");
  store().addSubtask(dig, "find the spade");
  store().setTaskSchedule(dig, CalendarDate{2026, 3, 9}, std::nullopt);
  expectLaptopMatches();
  store().deleteProject(project);
  EXPECT_EQ(store().lastWrite()->recordCount, 5)
      << "project, placement, two tasks and a schedule, as one write";
  store().deleteArea(area);
  expectLaptopMatches();
  EXPECT_EQ(cache().recordCount(), 1u) << "only the schema record is left";
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

TEST_F(EntityMutationTest, TheLastDeleteOrMoveIsTheOneUndone) {
  const auto area = store().addArea("Home", "", "");
  const auto party = store().addTaskToArea(area, "Party");
  const auto balloons = store().addSubtask(party, "balloons");
  store().setTaskSchedule(party, CalendarDate{2026, 3, 7}, "18:00");
  const auto before = cache().snapshot();

  store().deleteTask(party);
  ASSERT_TRUE(store().lastUndoable());
  EXPECT_EQ(store().lastUndoable()->menuTitle(), "Undo Delete Task");
  store().undoLast();
  EXPECT_EQ(cache().snapshot(), before);
  EXPECT_FALSE(store().lastUndoable());
  expectLaptopMatches(); // the restored records go up again

  const std::string moved[] = {party, balloons};
  store().setTaskSchedules(moved, CalendarDate{2026, 3, 9}, std::nullopt);
  store().setTaskDone(party, true);
  EXPECT_EQ(store().lastUndoable()->menuTitle(), "Undo Move of 2 Tasks") << "other mutations leave it";
  store().undoLast();
  EXPECT_EQ(cache().myTaskSchedules().at(party).gapTime, "18:00");
  const auto afterUndo = cache().snapshot();
  store().undoLast();
  EXPECT_EQ(cache().snapshot(), afterUndo) << "nothing left to undo";
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
  EXPECT_FALSE(store().bridgeIsApplying());
  store().bridgeLockProjects(projects, "Robin's laptop", Date{800'000'100});
  EXPECT_FALSE(store().bridgeIsApplying());
  EXPECT_THROW(store().setProjectName(projects[0], "Not now"), CloudKitStoreError);
  expectLaptopMatches();
  EXPECT_TRUE(laptop_.store().cache().projects().at(projects[1]).bridgeLockedBy);

  store().bridgeUnlockProjects(projects);
  store().setLocalBridgeFreeze(false);
  expectLaptopMatches();
  phone_.store().stop();
  EXPECT_THROW(store().bridgeLockProjects(projects, "Robin's laptop", Date{800'000'200}), CloudKitStoreError);
}

} // namespace
} // namespace vantrel
