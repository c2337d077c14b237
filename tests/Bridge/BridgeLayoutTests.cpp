#include "VantrelCore/Bridge/BridgeChangedFile.hpp"
#include "VantrelCore/Bridge/BridgeLayout.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace vantrel {
namespace {

using Kind = BridgeFileKind;

TEST(BridgeLayout, SlugifyKeepsASCIILettersAndDigitsWithOneDashBetweenRuns) {
  const std::pair<std::string, std::string> cases[] = {{"Home & Garden", "home-garden"},
                                                       {"  Work  ", "work"},
                                                       {"Q3 \u2014 Plans!", "q3-plans"},
                                                       {"Caf\u00e9", "caf"},
                                                       {"\u65e5\u672c", "area"},
                                                       {"\u00dcn\u00efc\u00f6d\u00e9", "n-c-d"},
                                                       {"a_b.c-D9", "a-b-c-d9"},
                                                       {"x\U0001F600\U0001F600y", "x-y"},
                                                       {"\xFF\xFE!ok", "ok"}};
  for (const auto& [name, slug] : cases) {
    EXPECT_EQ(BridgeLayout::slugify(name), slug) << name;
  }
}

// Outside the root nothing is stripped, not even the leading "/"; "/bc" is outside the root "/b".
TEST(BridgeLayout, ClassifiesByPlaceTheFirstMatchingRuleWinning) {
  const std::pair<std::string, Kind> cases[] = {
      {"/b/areas.yaml", Kind::areasYaml()},
      {"/b/inbox.yaml", Kind::inboxYaml()},
      {"/b/scratchpad.md", Kind::scratchpadLegacy()},
      {"/b/.vantrel", Kind::bridgeMetadata()},
      {"/b/.vantrel/backup/work/p-1.yaml", Kind::bridgeMetadata()},
      {"/b/.vantrelx/p-1.yaml", Kind::projectYaml(".vantrelx", "p-1", false)},
      {"/b/inbox.yaml.412-7.vantrel.tmp", Kind::temp()},
      {"/b/.vantrel.tmp/inbox.yaml", Kind::temp()},
      {"/b/days/2026-03-07.yaml", Kind::dayYaml("2026-03-07")},
      {"/b/days/notes.yaml", Kind::dayYaml("notes")},
      {"/b/work/p-3f9a1c.yaml", Kind::projectYaml("work", "p-3f9a1c", false)},
      {"/b/work/_tasks.yaml", Kind::areaTasksYaml("work", false)},
      {"/b/archive/work/p-1.yaml", Kind::projectYaml("work", "p-1", true)},
      {"/b/archive/work/_tasks.yaml", Kind::areaTasksYaml("work", true)},
      {"/b/archive/p-1.yaml", Kind::unrecognized()},
      {"/b/work/sub/p-1.yaml", Kind::unrecognized()},
      {"work/p-1.yaml", Kind::projectYaml("work", "p-1", false)},
      {"/tmp/inbox.yaml", Kind::projectYaml("tmp", "inbox", false)},
      {"/bc/inbox.yaml", Kind::projectYaml("bc", "inbox", false)}};
  for (const auto& [path, kind] : cases) {
    EXPECT_EQ(BridgeLayout::classify(path, "/b"), kind) << path;
  }
  EXPECT_EQ(BridgeLayout::classify("/b/inbox.yaml", "/b/"), Kind::inboxYaml());
  EXPECT_EQ(BridgeLayout::classify("/inbox.yaml", "/"), Kind::inboxYaml());
}

TEST(BridgeLayout, PathsItBuildsClassifyBackToTheirPayload) {
  const std::filesystem::path root = "/home/ada/My Planner";
  EXPECT_EQ(BridgeLayout::dayYamlURL(root, {2026, 3, 7}), root / "days/2026-03-07.yaml");
  std::mt19937 random(20260307);
  const std::string alphabet = "abcXYZ019 -_.&\u00e9";
  const auto text = [&] {
    std::string result(1 + random() % 12, ' ');
    for (auto& character : result) {
      character = alphabet[random() % alphabet.size()];
    }
    return result;
  };
  for (int round = 0; round < 500; ++round) {
    const auto folder = BridgeLayout::slugify(text());
    const auto stem = text();
    const bool archived = round % 2 == 1;
    if (folder == "days" || folder == "archive" || stem == BridgeLayout::areaTasksStem) {
      continue;
    }
    EXPECT_EQ(BridgeLayout::classify(BridgeLayout::projectYamlURL(root, folder, stem, archived), root),
              Kind::projectYaml(folder, stem, archived));
    EXPECT_EQ(BridgeLayout::classify(BridgeLayout::areaTasksYamlURL(root, folder, archived), root),
              Kind::areaTasksYaml(folder, archived));
  }
  for (const CalendarDate date : {CalendarDate{2026, 3, 7}, CalendarDate{1, 1, 1}}) {
    const auto path = BridgeLayout::dayYamlURL(root, date);
    EXPECT_EQ(BridgeLayout::classify(path, root), Kind::dayYaml(date.description()));
    EXPECT_TRUE(BridgeLayout::isDayFileName(path.filename().string())) << path;
  }
  EXPECT_EQ(BridgeLayout::classify(BridgeLayout::metadataDirectory(root), root), Kind::bridgeMetadata());
  EXPECT_EQ(BridgeLayout::classify(BridgeLayout::areasYamlURL(root), root), Kind::areasYaml());
  EXPECT_EQ(BridgeLayout::classify(BridgeLayout::inboxYamlURL(root), root), Kind::inboxYaml());
}

TEST(BridgeLayout, DayFileNamesAreExactlyFourTwoAndTwoASCIIDigits) {
  for (const auto* name : {"2026-03-07.yaml", "2026-13-45.yaml"}) {
    EXPECT_TRUE(BridgeLayout::isDayFileName(name)) << name;
  }
  for (const auto* name : {"2026-3-07.yaml", "2026-03-07.yml", "2026-03-07.yaml.bak", "x2026-03-07.yaml",
                           "2026_03_07.yaml", "2026-03-07xyaml", "2026-03-\u0667.yaml", ""}) {
    EXPECT_FALSE(BridgeLayout::isDayFileName(name)) << name;
  }
}

TEST(BridgeChangedFile, TakesItsKindFromWhereTheFileLies) {
  using Changed = BridgeChangedFile::Kind;
  const std::pair<std::string, Changed> cases[] = {{"work/p-1.yaml", Changed::project},
                                                   {"archive/work/p-1.yaml", Changed::project},
                                                   {"work/_tasks.yaml", Changed::areaTasks},
                                                   {"archive/w/_tasks.yaml", Changed::areaTasks},
                                                   {"inbox.yaml", Changed::inbox},
                                                   {"areas.yaml", Changed::unknown},
                                                   {"days/2026-03-07.yaml", Changed::unknown},
                                                   {"inbox.yaml.1-1.vantrel.tmp", Changed::unknown},
                                                   {"scratchpad.md", Changed::unknown},
                                                   {"work/sub/p-1.yaml", Changed::unknown}};
  for (const auto& [path, kind] : cases) {
    EXPECT_EQ(BridgeChangedFile::of(path, "a", std::nullopt),
              (BridgeChangedFile{.relativePath = path, .kind = kind, .beforeYAML = "a", .afterYAML = {}}));
  }
}

} // namespace
} // namespace vantrel
