#include "VantrelCore/Model/AreaItem.hpp"
#include "VantrelCore/Model/ProjectItem.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(TaskRecord, HomeIsAreaIsDecidedByThePrefixAlone) {
  const struct {
    const char* homeRef;
    bool isArea;
  } cases[] = {{"p-a81b0e", false}, {"home-garden", true}, {"p-1", false},
               {"P-1", true},       {"p", true},           {"", true}};
  for (const auto& c : cases) {
    EXPECT_EQ(TaskRecord{.homeRef = c.homeRef}.homeIsArea(), c.isArea) << c.homeRef;
  }
}

TEST(UserTaskScheduleRecord, AllDefaultsOnlyWithoutDateAndGapTime) {
  EXPECT_TRUE(UserTaskScheduleRecord{}.isAllDefaults());
  EXPECT_FALSE(UserTaskScheduleRecord{.date = Date{8e8}}.isAllDefaults());
  EXPECT_FALSE(UserTaskScheduleRecord{.gapTime = "09:30"}.isAllDefaults());
}

TEST(ReadModels, ItemsSortBySortIndexThenId) {
  std::vector<AreaItem> area = {
      AreaItem::project(ProjectRecord{.recordName = "p-b"}, 2000),
      AreaItem::header(AreaSectionRecord{.recordName = "h-z", .sortIndex = 1000}),
      AreaItem::project(ProjectRecord{.recordName = "p-a"}, 2000),
      AreaItem::header(AreaSectionRecord{.recordName = "h-y", .sortIndex = -500}),
  };
  AreaItem::sort(area);
  std::vector<std::string> ids;
  for (const auto& item : area) {
    ids.push_back(item.id);
  }
  EXPECT_EQ(ids, (std::vector<std::string>{"h-y", "h-z", "p-a", "p-b"}));
  EXPECT_TRUE(area[0].isHeader());
  EXPECT_TRUE(area[2].isProject());

  std::vector<ProjectItem> project = {
      ProjectItem::task(TaskRecord{.recordName = "t-2", .sortIndex = 3000}),
      ProjectItem::header(ProjectSectionRecord{.recordName = "h-1", .sortIndex = 1000}),
      ProjectItem::task(TaskRecord{.recordName = "t-1", .sortIndex = 2000}),
  };
  ProjectItem::sort(project);
  EXPECT_EQ(project[0].id, "h-1");
  EXPECT_EQ(project[1].id, "t-1");
  EXPECT_EQ(project[2].id, "t-2");
  EXPECT_EQ(std::get<TaskRecord>(project[2].kind).sortIndex, 3000);
}

} // namespace
} // namespace vantrel
