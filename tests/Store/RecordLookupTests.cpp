#include "VantrelCore/Store/LookupError.hpp"
#include "VantrelCore/Store/RecordLookup.hpp"
#include "VantrelCore/Store/TaskOutline.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

// A small planner: two areas, a project with a header, tasks with a subtask, and two gaps on one day.
class RecordLookupTest : public ::testing::Test {
protected:
  void SetUp() override {
    cache_.setCurrentUserRef("me");
    cache_.upsert(AreaRecord{.recordName = "work", .name = "Work", .sortIndex = 1000});
    cache_.upsert(AreaRecord{.recordName = "workshop", .name = "Workshop", .sortIndex = 2000});
    cache_.upsert(ProjectRecord{.recordName = "p-1", .name = "Garden"});
    cache_.upsert(UserProjectPlacementRecord{
        .recordName = "up-1", .userRef = "me", .projectRef = "p-1", .areaRef = "work", .sortIndex = 1000});
    cache_.upsert(
        ProjectSectionRecord{.recordName = "h-1", .projectRef = "p-1", .title = "Later", .sortIndex = 2000});
    cache_.upsert(TaskRecord{.recordName = "t-dig", .homeRef = "p-1", .title = "Dig", .sortIndex = 3000});
    cache_.upsert(
        TaskRecord{.recordName = "t-sow", .homeRef = "p-1", .title = "Sow seeds", .sortIndex = 1000});
    cache_.upsert(TaskRecord{
        .recordName = "t-spade", .homeRef = "p-1", .parentTaskRef = "t-dig", .title = "Spade", .done = true});
    cache_.upsert(TaskRecord{.recordName = "t-call", .homeRef = "work", .title = "Call Anna"});
    cache_.upsert(TaskRecord{.recordName = "t-call2", .homeRef = "workshop", .title = "call anna"});
    cache_.upsert(
        GapRecord{.recordName = "g-1", .dayRef = "2026-03-07", .time = "09:05", .label = "Deep work"});
    cache_.upsert(GapRecord{.recordName = "g-2", .dayRef = "2026-03-07", .time = "13:00"});
  }

  CloudKitCache cache_;
};

TEST_F(RecordLookupTest, FindsByRecordNameTitleOrUniquePrefixAndNamesTheCandidatesOtherwise) {
  const RecordLookup find(cache_);
  const auto found = [](auto lookup) {
    try {
      return lookup();
    } catch (const LookupError& error) {
      return std::string("! ") + error.what();
    }
  };
  const struct {
    std::string typed;
    std::function<std::string(const std::string&)> lookup;
    std::string expected;
  } cases[] = {
      {"work", [&](const std::string& text) { return find.area(text); }, "work"},
      {"WORKSHOP", [&](const std::string& text) { return find.area(text); }, "workshop"},
      {"Wor", [&](const std::string& text) { return find.area(text); },
       "! 'Wor' could be 2 areas: Work (work), Workshop (workshop); type more of the title, or the name in "
       "brackets"},
      {"Wrok", [&](const std::string& text) { return find.area(text); }, "! no area 'Wrok'"},
      {"gar", [&](const std::string& text) { return find.project(text); }, "p-1"},
      {"gar", [&](const std::string& text) { return find.home(text); }, "p-1"},
      {"so", [&](const std::string& text) { return find.task(text); }, "t-sow"},
      {"spade", [&](const std::string& text) { return find.task(text); }, "t-spade"},
      {"CALL ANNA", [&](const std::string& text) { return find.task(text); },
       "! 'CALL ANNA' could be 2 tasks: Call Anna (t-call), call anna (t-call2); type more of the title, or "
       "the name in brackets"},
      {"t-call2", [&](const std::string& text) { return find.task(text); }, "t-call2"},
      {"", [&](const std::string& text) { return find.task(text); }, "! no task ''"},
      {"later", [&](const std::string& text) { return find.header(text); }, "h-1"},
      {"9:05",
       [&](const std::string& text) {
         return find.gap(text, {2026, 3, 7}).recordName;
       },
       "g-1"},
      {"13:00",
       [&](const std::string& text) {
         return find.gap(text, {2026, 3, 7}).recordName;
       },
       "g-2"},
      {"deep",
       [&](const std::string& text) {
         return find.gap(text, {2026, 3, 7}).recordName;
       },
       "g-1"},
      {"11:11",
       [&](const std::string& text) {
         return find.gap(text, {2026, 3, 7}).recordName;
       },
       "! no gap '11:11' on 2026-03-07"},
      {"g-1",
       [&](const std::string& text) {
         return find.gap(text, {2026, 3, 8}).recordName;
       },
       "! gap g-1 is on 2026-03-07, not on 2026-03-08"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(found([&] { return c.lookup(c.typed); }), c.expected) << c.typed;
  }
}

TEST_F(RecordLookupTest, TheOutlineListsAreasProjectsHeadersAndSubtasksUnderTheirParents) {
  const auto outline = [&](const TaskFilter& filter) {
    std::string rows;
    for (const auto& row : TaskOutline::of(cache_, filter).rows) {
      rows += std::string(std::size_t(row.depth), ' ') +
              (row.recordName.empty() ? "(none)" : row.recordName) + (row.matched ? "" : "?") + "\n";
    }
    return rows;
  };
  EXPECT_EQ(outline({}), "work\n t-call\n p-1\n  t-sow\n  h-1\n   t-dig\n    t-spade\nworkshop\n t-call2\n");
  EXPECT_EQ(outline({.done = true}), "work\n p-1\n  h-1\n   t-dig?\n    t-spade\n")
      << "a parent shows for its matching subtask, marked as not matching itself";
  EXPECT_EQ(outline({.done = false, .area = "workshop"}), "workshop\n t-call2\n");
  EXPECT_EQ(outline({.text = "SEED"}), "work\n p-1\n  t-sow\n");
  EXPECT_EQ(outline({.project = "p-2"}), "");
}

} // namespace
} // namespace vantrel
