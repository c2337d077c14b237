#include "VantrelCore/Model/AreaItem.hpp"
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
}

} // namespace
} // namespace vantrel
