#include "VantrelCore/Bridge/BridgeAreaFolders.hpp"
#include "VantrelCore/Bridge/BridgeLayout.hpp"
#include "VantrelCore/Model/RecordNames.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <vector>

namespace vantrel {
namespace {

std::vector<const AreaRecord*> pointersTo(const std::vector<AreaRecord>& areas) {
  std::vector<const AreaRecord*> pointers;
  for (const auto& area : areas) {
    pointers.push_back(&area);
  }
  return pointers;
}

TEST(BridgeAreaFolders, AnAreaWhoseSlugCannotBeItsOwnFallsBackToItsRecordNameAndSaysSo) {
  const std::vector<AreaRecord> areas = {
      {.recordName = "home-garden", .name = "Home & Garden"},
      {.recordName = "home-garden-2", .name = "home  garden!"},
      // Reading "work-2" back finds the area whose record name it is, even one that comes later.
      {.recordName = "work-2-2", .name = "Work 2"},
      {.recordName = "work-2", .name = "Work"},
      {.recordName = "archive-2", .name = "Archive"},
      {.recordName = "days", .name = "Days"},
      {.recordName = "a/b", .name = "Home & Garden"}};
  const auto folders = BridgeAreaFolders::assign(pointersTo(areas));
  const std::pair<std::string, std::optional<std::string>> expected[] = {
      {"home-garden", "home-garden"}, {"home-garden-2", "home-garden-2"},
      {"work-2-2", "work-2-2"},       {"work-2", "work"},
      {"archive-2", "archive-2"},     {"days", std::nullopt},
      {"a/b", std::nullopt},          {"other", std::nullopt}};
  for (const auto& [recordName, folder] : expected) {
    EXPECT_EQ(folders.folderOf(recordName), folder) << recordName;
  }
  const std::string fallsBack = " falls back to record-name folder";
  const std::string leftOut = " is left out: its record name cannot name its folder either";
  EXPECT_EQ(
      folders.warnings(),
      (std::vector<std::string>{
          "Area folder slug 'home-garden' already used; area 'home  garden!' (home-garden-2)" + fallsBack,
          "Area folder slug 'work-2' already used; area 'Work 2' (work-2-2)" + fallsBack,
          "Area folder slug 'archive' is reserved by the bridge layout; area 'Archive' (archive-2)" +
              fallsBack,
          "Area folder slug 'days' is reserved by the bridge layout; area 'Days' (days)" + leftOut,
          "Area folder slug 'home-garden' already used; area 'Home & Garden' (a/b)" + leftOut,
      }));
}

TEST(BridgeAreaFolders, AFolderIsARecordNameBeforeItIsASlugAndTheFirstInListOrderWins) {
  const std::vector<AreaRecord> areas = {{.recordName = "job", .name = "Work"},
                                         {.recordName = "work", .name = "Job"},
                                         {.recordName = "p-1", .name = "Garden"},
                                         {.recordName = "p-2", .name = "Garden"}};
  const std::pair<std::string, std::optional<std::string>> cases[] = {
      {"work", "work"}, {"job", "job"}, {"garden", "p-1"}, {"p-2", "p-2"}, {"Work", std::nullopt}};
  for (const auto& [folder, area] : cases) {
    EXPECT_EQ(BridgeAreaFolders::areaOfFolder(folder, pointersTo(areas)), area) << folder;
  }
}

// Areas named as people name them, with record names made as the store makes them, in shuffled orders:
// each gets a folder of its own that reads back as it, or a line saying why not.
TEST(BridgeAreaFolders, EveryFolderReadsBackAsItsArea) {
  const std::string names[] = {"Work", "work", "Work 2", "Work-2",        "Days", "Archive",      "Caf\u00e9",
                               "Cafe", "caf",  "area",   "\u00c9t\u00e9", "???",  "Home & Garden"};
  std::mt19937 random(42);
  for (int round = 0; round < 50; ++round) {
    std::vector<AreaRecord> areas;
    std::set<std::string, std::less<>> taken;
    for (int index = 0; index < 12; ++index) {
      const auto& name = names[random() % std::size(names)];
      areas.push_back({.recordName = RecordNames::uniqueAreaRecordName(
                           name, [&](std::string_view candidate) { return taken.contains(candidate); }),
                       .name = name});
      taken.insert(areas.back().recordName);
    }
    std::ranges::shuffle(areas, random);
    const auto folders = BridgeAreaFolders::assign(pointersTo(areas));
    std::set<std::string> used;
    std::size_t withoutSlug = 0;
    for (const auto& area : areas) {
      const auto folder = folders.folderOf(area.recordName);
      withoutSlug += folder != BridgeLayout::slugify(area.name) ? 1 : 0;
      if (folder) {
        EXPECT_TRUE(used.insert(*folder).second) << *folder << " is given twice";
        EXPECT_EQ(BridgeAreaFolders::areaOfFolder(*folder, pointersTo(areas)), area.recordName) << *folder;
      }
    }
    EXPECT_EQ(folders.warnings().size(), withoutSlug);
  }
}

} // namespace
} // namespace vantrel
