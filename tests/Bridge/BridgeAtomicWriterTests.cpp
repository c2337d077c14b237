#include "VantrelCore/Bridge/BridgeApplyError.hpp"
#include "VantrelCore/Bridge/BridgeAtomicWriter.hpp"
#include "VantrelCore/Bridge/BridgeRenderer.hpp"
#include "VantrelCore/Bridge/ProjectFile.hpp"
#include "VantrelCore/Bridge/YAMLParseError.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::StoreDevice;

/// A text with one piece replaced; the piece must be there.
std::string edited(std::string text, const std::string& from, const std::string& to) {
  const auto at = text.find(from);
  EXPECT_NE(at, std::string::npos) << "no '" << from << "' in:\n" << text;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

class BridgeAtomicWriterTest : public ::testing::Test {
public:
  void SetUp() override {
    phone_.start();
    home_ = store().addArea("Home", "green", "house");
    garden_ = store().addProject("Garden", home_, "Grow food");
    plan_ = store().addTaskToProject(garden_, "Plan beds");
    spring_ = store().addHeaderToProject(garden_, "Spring");
    dig_ = store().addTaskToProject(garden_, "Dig");
    spade_ = store().addSubtask(dig_, "Spade");
    store().addSubtask(dig_, "Rake");
    store().setTaskSchedule(dig_, CalendarDate{2026, 3, 7}, "09:00");
    kitchen_ = store().addProject("Kitchen", home_);
    paint_ = store().addTaskToProject(kitchen_, "Paint");
    water_ = store().addTaskToArea(home_, "Water");
    store().addGap({2026, 3, 7}, "09:00", "Deep work", true);
    store().addGap({2026, 3, 7}, "13:00", std::nullopt, false);
    store().addInboxItem("Call Bob", std::nullopt, Date{800'000'000});
    phone_.send();
  }

  CloudKitStore& store() const { return phone_.store(); }
  const CloudKitCache& cache() const { return phone_.store().cache(); }
  std::size_t pending() { return store().syncEngine()->state().pendingRecordZoneChanges().size(); }
  const TaskRecord& task(const std::string& name) const { return phone_.store().cache().tasks().at(name); }
  BridgeAtomicWriter writer(std::set<std::string, std::less<>> ids = {}) {
    return BridgeAtomicWriter(store(), clock_, std::move(ids));
  }
  std::string gardenFile() const { return BridgeRenderer::projectFile(cache(), garden_); }
  /// The project's tasks and headers by title, in their order, subtasks indented.
  std::vector<std::string> outline(const std::string& project) const {
    std::vector<std::string> lines;
    std::istringstream text(BridgeRenderer::projectFile(cache(), project));
    for (std::string line; std::getline(text, line);) {
      static const std::regex shown(R"(^( *)(?:- )?(?:title|header): (.*)$)");
      if (std::smatch match; std::regex_match(line, match, shown)) {
        lines.push_back(std::string(match[1].length() > 4 ? "  " : "") + match[2].str());
      }
    }
    return lines;
  }

protected:
  testing::ScopedDeviceSettings zone_{"Europe/Berlin"};
  testing::TemporaryFolder folder_;
  FixedClock clock_{Date{800'000'000}};
  InMemoryCloudDatabase server_{clock_};
  mutable StoreDevice phone_{folder_.path() / "phone", server_, clock_};

public:
  std::string home_, garden_, plan_, spring_, dig_, spade_, kitchen_, paint_, water_;
};

// A file applied as the store would write it changes nothing at all.
TEST_F(BridgeAtomicWriterTest, AnUnchangedFileWritesNothing) {
  const auto version = store().dataVersion();
  auto bridge = writer();
  bridge.replaceProject(garden_, "home", gardenFile(), "home/" + garden_ + ".yaml");
  bridge.replaceAreaTasks("home", BridgeRenderer::areaTasksFile(cache(), home_), "home/_tasks.yaml");
  bridge.replaceDay("2026-03-07", BridgeRenderer::dayFile(cache(), {2026, 3, 7}), "days/2026-03-07.yaml");
  bridge.replaceInbox(BridgeRenderer::inboxFile(cache()), "inbox.yaml");
  EXPECT_EQ(pending(), 0);
  EXPECT_EQ(store().dataVersion(), version);
}

/// One edit a person makes to the garden's project file, and what it must change.
struct ProjectEdit {
  std::string name;
  std::function<std::string(const BridgeAtomicWriterTest&, const std::string&)> edit;
  std::function<void(const BridgeAtomicWriterTest&)> check;
  /// How many records the edit writes; none where the rules decide (renumbering, new records).
  std::optional<std::size_t> writes;
};

void PrintTo(const ProjectEdit& edit, std::ostream* out) {
  *out << edit.name;
}

class ProjectEditTest : public BridgeAtomicWriterTest, public ::testing::WithParamInterface<ProjectEdit> {};

const std::string digSubtasks =
    "      - title: Spade\n        done: false\n      - title: Rake\n        done: false\n";

const ProjectEdit projectEdits[] = {
    {"Retitle", [](auto&, const std::string& f) { return edited(f, "title: Dig", "title: Dig deep"); },
     [](auto& t) { EXPECT_EQ(t.task(t.dig_).title, "Dig deep"); }, 1},
    {"Done",
     [](auto&, const std::string& f) {
       return edited(f, "title: Plan beds\n    done: false", "title: Plan beds\n    done: true");
     },
     [](auto& t) { EXPECT_TRUE(t.task(t.plan_).done); }, 1},
    {"DueDate",
     [](auto&, const std::string& f) {
       return edited(f, "title: Plan beds\n    done: false",
                     "title: Plan beds\n    done: false\n    due_date: 2026-04-01");
     },
     [](auto& t) {
       EXPECT_EQ(t.task(t.plan_).dueDate, (CalendarDate{2026, 4, 1}.localNoon()));
     },
     1},
    {"Schedule", [](auto&, const std::string& f) { return edited(f, "gap: \"09:00\"", "gap: \"13:00\""); },
     [](auto& t) { EXPECT_EQ(t.cache().myTaskSchedules().at(t.dig_).gapTime, "13:00"); }, 1},
    {"Unschedule",
     [](auto&, const std::string& f) {
       return edited(f, "    me:\n      date: 2026-03-07\n      gap: \"09:00\"\n", "");
     },
     [](auto& t) { EXPECT_FALSE(t.cache().myTaskSchedules().contains(t.dig_)); }, 1},
    {"RenamedHeader",
     [](auto&, const std::string& f) { return edited(f, "header: Spring", "header: Early spring"); },
     [](auto& t) { EXPECT_EQ(t.cache().projectSections().at(t.spring_).title, "Early spring"); }, 1},
    {"TaskMovedAboveTheHeader",
     [](auto&, const std::string& f) {
       return edited(edited(f, "  - header: Spring\n", ""), digSubtasks,
                     digSubtasks + "  - header: Spring\n");
     },
     [](auto& t) {
       EXPECT_EQ(t.outline(t.garden_),
                 (std::vector<std::string>{"Plan beds", "Dig", "  Spade", "  Rake", "Spring"}));
     },
     std::nullopt},
    {"NewHeader",
     [](auto&, const std::string& f) {
       return edited(f, "  - header: Spring\n", "  - header: Before\n  - header: Spring\n");
     },
     [](auto& t) {
       EXPECT_EQ(t.outline(t.garden_),
                 (std::vector<std::string>{"Plan beds", "Before", "Spring", "Dig", "  Spade", "  Rake"}));
     },
     std::nullopt},
    {"SubtaskRenamedAndDone",
     [](auto&, const std::string& f) {
       return edited(f, "title: Rake\n        done: false", "title: Rake the beds\n        done: true");
     },
     [](auto& t) {
       EXPECT_EQ(t.outline(t.garden_),
                 (std::vector<std::string>{"Plan beds", "Spring", "Dig", "  Spade", "  Rake the beds"}));
     },
     1},
    {"SubtasksReordered",
     [](auto&, const std::string& f) {
       return edited(f, digSubtasks,
                     "      - title: Rake\n        done: false\n      - title: Spade\n        done: false\n");
     },
     [](auto& t) {
       EXPECT_EQ(t.outline(t.garden_),
                 (std::vector<std::string>{"Plan beds", "Spring", "Dig", "  Rake", "  Spade"}));
       EXPECT_TRUE(t.cache().tasks().contains(t.spade_)) << "reordered, not re-created";
     },
     2},
    {"SubtaskReplaced",
     [](auto&, const std::string& f) { return edited(f, "      - title: Spade\n", "      - title: Hoe\n"); },
     [](auto& t) {
       EXPECT_EQ(t.outline(t.garden_),
                 (std::vector<std::string>{"Plan beds", "Spring", "Dig", "  Hoe", "  Rake"}));
     },
     1},
    {"NewTaskWithoutAnID", [](auto&, const std::string& f) { return f + "  - title: Sow\n    done: true\n"; },
     [](auto& t) {
       EXPECT_EQ(t.outline(t.garden_).back(), "Sow");
       EXPECT_EQ(t.cache().tasks().size(), 7u);
     },
     std::nullopt},
    {"TaskDeleted",
     [](auto& t, const std::string& f) {
       return edited(f, "  - id: " + t.plan_ + "\n    title: Plan beds\n    done: false\n", "");
     },
     [](auto& t) {
       EXPECT_FALSE(t.cache().tasks().contains(t.plan_));
       ASSERT_TRUE(t.store().lastUndoable().has_value()) << "a deletion by the bridge is undoable";
     },
     1},
    {"ProjectFields",
     [](auto&, const std::string& f) {
       return edited(edited(f, "name: Garden", "name: Vegetable garden"), "    Grow food\n",
                     "    Grow food\n    and flowers\n");
     },
     [](auto& t) {
       EXPECT_EQ(t.cache().projects().at(t.garden_).name, "Vegetable garden");
       EXPECT_EQ(t.cache().projects().at(t.garden_).purpose, "Grow food\nand flowers");
     },
     1},
    {"Archived", [](auto&, const std::string& f) { return edited(f, "status: active", "status: archived"); },
     [](auto& t) { EXPECT_TRUE(t.cache().projects().at(t.garden_).isArchived()); }, 1},
    {"Pinned", [](auto&, const std::string& f) { return edited(f, "  me:\n", "  me:\n    pinned: true\n"); },
     [](auto& t) { EXPECT_TRUE(t.cache().myPlacement(t.garden_)->isPinned); }, 1},
};

// Each edit a person makes to a project file changes exactly that in the store.
TEST_P(ProjectEditTest, ChangesExactlyWhatWasEdited) {
  const auto& edit = GetParam();
  const auto file = edit.edit(*this, gardenFile());
  const auto others =
      BridgeRenderer::projectFile(cache(), kitchen_) + BridgeRenderer::areaTasksFile(cache(), home_);
  ASSERT_NO_THROW(writer().replaceProject(garden_, "home", file, "home/garden.yaml")) << file;
  edit.check(*this);
  if (edit.writes) {
    EXPECT_EQ(pending(), *edit.writes) << "records written";
  }
  EXPECT_EQ(BridgeRenderer::projectFile(cache(), kitchen_) + BridgeRenderer::areaTasksFile(cache(), home_),
            others)
      << "nothing else changed";
  EXPECT_EQ(ProjectFile::parse(gardenFile(), "after").tasks.size(),
            ProjectFile::parse(file, "file").tasks.size());
}

INSTANTIATE_TEST_SUITE_P(Edits, ProjectEditTest, ::testing::ValuesIn(projectEdits),
                         [](const auto& test) { return test.param.name; });

// A task whose id now stands in another file moves there, in whichever order the files are applied.
TEST_F(BridgeAtomicWriterTest, ATaskThatChangedFilesIsMovedWhicheverFileIsAppliedFirst) {
  const std::string digItem = "  - id: " + dig_ + "\n    title: Dig\n";
  for (const bool gardenFirst : {true, false}) {
    SCOPED_TRACE(gardenFirst ? "garden first" : "kitchen first");
    const auto original = BridgeRenderer::projectFile(cache(), garden_);
    const auto start = original.find(digItem);
    const auto end = original.find("  - ", original.find("Rake"));
    const auto moved = original.substr(start, (end == std::string::npos ? original.size() : end) - start);
    const auto garden = edited(original, moved, "");
    const auto kitchen = BridgeRenderer::projectFile(cache(), kitchen_) + moved;
    auto ids = BridgeAtomicWriter::taskIDsIn(garden, "garden", true);
    ids.merge(BridgeAtomicWriter::taskIDsIn(kitchen, "kitchen", true));
    auto bridge = writer(ids);
    if (gardenFirst) {
      bridge.replaceProject(garden_, "home", garden, "home/garden.yaml");
      bridge.replaceProject(kitchen_, "home", kitchen, "home/kitchen.yaml");
    } else {
      bridge.replaceProject(kitchen_, "home", kitchen, "home/kitchen.yaml");
      bridge.replaceProject(garden_, "home", garden, "home/garden.yaml");
    }
    EXPECT_EQ(task(dig_).homeRef, kitchen_);
    EXPECT_TRUE(cache().tasks().contains(spade_)) << "its subtasks went with it";
    EXPECT_EQ(outline(kitchen_), (std::vector<std::string>{"Paint", "Dig", "  Spade", "  Rake"}));
    EXPECT_EQ(cache().myTaskSchedules().at(dig_).gapTime, "09:00");
    // And back, for the other order.
    store().moveTask(dig_, garden_);
    const ProjectItemKey order[] = {ProjectItemKey::task(plan_), ProjectItemKey::section(spring_),
                                    ProjectItemKey::task(dig_)};
    store().reorderProject(garden_, order);
  }
}

// The other files: the area's own tasks, a day's gaps, the inbox.
TEST_F(BridgeAtomicWriterTest, AreaTasksDaysAndTheInboxFollowTheirFiles) {
  auto bridge = writer();
  bridge.replaceAreaTasks(
      "home",
      edited(BridgeRenderer::areaTasksFile(cache(), home_), "title: Water", "title: Water the ferns") +
          "  - title: Sweep\n    done: false\n    me:\n      date: 2026-03-08\n",
      "home/_tasks.yaml");
  EXPECT_EQ(task(water_).title, "Water the ferns");
  const auto sweep =
      std::ranges::find_if(cache().tasks(), [](const auto& entry) { return entry.second.title == "Sweep"; });
  ASSERT_NE(sweep, cache().tasks().end());
  EXPECT_EQ(sweep->second.homeRef, home_);
  EXPECT_EQ(cache().myTaskSchedules().at(sweep->first).date, (CalendarDate{2026, 3, 8}.noonUTC()));

  const auto gapAtNine = *CloudKitCache::namesIn(cache().gapIDsByDay(), "2026-03-07").begin();
  bridge.replaceDay(
      "2026-03-07",
      edited(edited(BridgeRenderer::dayFile(cache(), {2026, 3, 7}), "label: Deep work", "label: Focus"),
             "  - time: \"13:00\"\n", "  - time: \"15:30\"\n    reminder: true\n"),
      "days/2026-03-07.yaml");
  EXPECT_EQ(BridgeRenderer::dayFile(cache(), {2026, 3, 7}),
            "# Day file. gaps for 2026-03-07. Tasks are NOT stored here;\n"
            "# they are queried from project files whose tasks have date == this date.\n"
            "date: 2026-03-07\ngaps:\n  - time: \"09:00\"\n    label: Focus\n    reminder: true\n"
            "  - time: \"15:30\"\n    reminder: true\n");
  EXPECT_TRUE(cache().gaps().contains(gapAtNine)) << "a gap keeps its identity through a label edit";
  bridge.replaceDay("2026-03-09", "date: 2026-03-09\ngaps:\n  - time: \"7:30\"\n", "days/2026-03-09.yaml");
  EXPECT_EQ(CloudKitCache::namesIn(cache().gapIDsByDay(), "2026-03-09").size(), 1u);

  bridge.replaceInbox("items:\n  - title: Buy seeds\n    notes: ~\n", "inbox.yaml");
  ASSERT_EQ(cache().inbox().size(), 1u);
  EXPECT_EQ(cache().inbox().begin()->second.title, "Buy seeds");
  EXPECT_EQ(cache().inbox().begin()->second.capturedAt, clock_.now());
}

// A file that cannot be applied says why, naming the file, and changes nothing.
TEST_F(BridgeAtomicWriterTest, AFileThatCannotBeAppliedChangesNothing) {
  const auto before = cache().snapshot();
  const struct {
    std::function<void(BridgeAtomicWriter&)> apply;
    std::string message;
  } cases[] = {
      {[](auto& w) { w.replaceDay("notes", "gaps:\n", "days/notes.yaml"); },
       "Couldn't parse YYYY-MM-DD: notes"},
      {[](auto& w) { w.replaceDay("2026-02-30", "gaps:\n", "days/2026-02-30.yaml"); },
       "Couldn't parse YYYY-MM-DD: 2026-02-30"},
      {[&](auto& w) {
         w.replaceAreaTasks("attic", BridgeRenderer::areaTasksFile(cache(), home_), "attic/_tasks.yaml");
       },
       "No such area in the cache: attic"},
      {[&](auto& w) { w.replaceProject(garden_, "attic", gardenFile(), "attic/garden.yaml"); },
       "No such area in the cache: attic"},
      {[&](auto& w) { w.replaceProject("p-gone", "home", gardenFile(), "home/p-gone.yaml"); },
       "No such project in the cache: p-gone"},
      {[&](auto& w) { w.replaceProject(kitchen_, "home", gardenFile(), "home/kitchen.yaml"); },
       "home/kitchen.yaml: the project's id is '" + garden_ + "', but the file is the one of '" + kitchen_ +
           "'; ids must stay as they were written"},
      {[&](auto& w) {
         w.replaceProject(garden_, "home", edited(gardenFile(), "title: Dig", "titel: Dig"),
                          "home/garden.yaml");
       },
       "missing required key 'title'"},
      {[&](auto& w) {
         w.replaceAreaTasks(
             "home", BridgeRenderer::areaTasksFile(cache(), home_) + "  - id: " + water_ + "\n    title: x\n",
             "home/_tasks.yaml");
       },
       "home/_tasks.yaml: the id '" + water_ + "' is listed twice"},
      {[](auto& w) { w.replaceDay("2026-03-07", "gaps:\n  - time: \"25:00\"\n", "days/2026-03-07.yaml"); },
       "days/2026-03-07.yaml: the gap time '25:00' is not a time of day HH:MM"},
  };
  for (const auto& c : cases) {
    auto bridge = writer();
    try {
      c.apply(bridge);
      ADD_FAILURE() << "applied: " << c.message;
    } catch (const std::exception& error) {
      EXPECT_NE(std::string(error.what()).find(c.message), std::string::npos) << error.what();
    }
    EXPECT_EQ(cache().snapshot(), before) << c.message;
    EXPECT_EQ(pending(), 0) << c.message;
  }
}

} // namespace
} // namespace vantrel
