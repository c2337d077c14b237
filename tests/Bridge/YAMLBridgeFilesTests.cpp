#include "VantrelCore/Bridge/AreaTasksFile.hpp"
#include "VantrelCore/Bridge/AreasFile.hpp"
#include "VantrelCore/Bridge/DayFile.hpp"
#include "VantrelCore/Bridge/InboxFile.hpp"
#include "VantrelCore/Bridge/ProjectFile.hpp"
#include "VantrelCore/Bridge/YAMLBridgeSerializer.hpp"
#include "VantrelCore/Bridge/YAMLScalar.hpp"
#include "VantrelCore/Model/LastEditedFormat.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

namespace vantrel {
namespace {

std::string golden(const std::string& name) {
  std::ifstream file(std::filesystem::path(__FILE__).parent_path() / "Golden" / name, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_FALSE(text.str().empty()) << name;
  return text.str();
}

Date stamp(std::string_view text) {
  return *LastEditedFormat::date(text);
}

TaskRecord task(std::string name, std::string title, bool done = false, std::int64_t sortIndex = 0) {
  return {.recordName = std::move(name), .title = std::move(title), .done = done, .sortIndex = sortIndex};
}

// Every file of the tree, byte for byte: header comments, key order, indentation, quoting, the "me:"
// blocks, interleaved headers and subtasks.
TEST(YAMLBridgeSerializer, WritesEveryFileAsTheGoldenCopy) {
  testing::ScopedDeviceSettings zone("Europe/Berlin");
  const ProjectRecord project{.recordName = "p-garden",
                              .name = "Garden: spring",
                              .purpose = "Grow food.\n\nShare the rest.",
                              .dueDate = CalendarDate{2026, 4, 30}.localNoon()};
  const UserProjectPlacementRecord placement{
      .recordName = "up-1", .projectRef = "p-garden", .sortIndex = 2000, .isPinned = true};
  auto dig = task("t-dig", "Dig", true);
  dig.dueDate = CalendarDate{2026, 3, 10}.localNoon();
  const std::vector<ProjectItem> items{
      ProjectItem::task(task("t-plan", "Plan beds")),
      ProjectItem::header({.recordName = "h-1", .title = "Spring"}), ProjectItem::task(dig),
      ProjectItem::header({.recordName = "h-2", .title = ""}), ProjectItem::task(task("t-yes", "yes"))};
  YAMLBridgeSerializer::Schedules schedules{
      {"t-dig", {.taskRef = "t-dig", .date = CalendarDate{2026, 3, 7}.noonUTC(), .gapTime = "09:00"}},
      {"t-water", {.taskRef = "t-water", .date = CalendarDate{2026, 3, 8}.noonUTC()}},
      {"t-yes", {.taskRef = "t-yes"}}};
  const YAMLBridgeSerializer::Subtasks subtasks{
      {"t-dig", {task("t-spade", "Spade", true), task("t-hi", "Say \"hi\" to C:\\")}}};
  const auto lastEdited = stamp("2026-03-07T10:05:09Z");
  EXPECT_EQ(YAMLBridgeSerializer::renderProject(project, items, lastEdited, &placement, schedules, subtasks),
            golden("project.yaml"));

  const AreaRecord home{"home", "Home & Garden", "green", "house", 1000, false};
  const std::vector<TaskRecord> own{task("t-water", " water the roses"), task("t-null", "null", true)};
  EXPECT_EQ(YAMLBridgeSerializer::renderAreaTasks(home, own, lastEdited, schedules, {}),
            golden("area-tasks.yaml"));

  const std::vector<GapRecord> gaps{
      {.recordName = "g-1", .time = "09:00", .label = "Deep work", .reminder = true},
      {.recordName = "g-2", .time = "13:00", .label = ""}};
  EXPECT_EQ(YAMLBridgeSerializer::renderDay({2026, 3, 7}, gaps), golden("day.yaml"));
  EXPECT_EQ(YAMLBridgeSerializer::renderDay({2026, 3, 8}, {}), golden("empty-day.yaml"));

  const std::vector<InboxItemRecord> inbox{
      {.recordName = "i-call", .title = "Call Bob", .capturedAt = stamp("2026-03-07T08:00:00Z"), .notes = ""},
      {.recordName = "i-ideas",
       .title = "Ideas: 🌱 and 漢字",
       .capturedAt = stamp("2026-03-07T08:30:00Z"),
       .notes = "Two\nlines"}};
  EXPECT_EQ(YAMLBridgeSerializer::renderInbox(inbox), golden("inbox.yaml"));

  const std::vector<YAMLBridgeSerializer::AreaEntry> areas{
      {"home-garden", home}, {"work", {"work", "Work", "blue", "briefcase", 2000, false}}};
  const std::vector<std::string> pinned{"p-garden"};
  EXPECT_EQ(YAMLBridgeSerializer::renderAreas(areas, pinned), golden("areas.yaml"));
  EXPECT_EQ(YAMLBridgeSerializer::renderAreas(areas, {}).find("pinned"), std::string::npos);
}

TEST(YAMLScalar, QuotesOnlyWhatAPlainScalarCannotCarry) {
  const std::pair<std::string, std::string> cases[] = {
      {"Buy milk", "Buy milk"},
      {"yes", "yes"},
      {"null", "null"},
      {"123", "123"},
      {"a/b.c@d_e-f", "a/b.c@d_e-f"},
      {"Ünïcödé 漢字 שלום", "Ünïcödé 漢字 שלום"},
      {"", R"("")"},
      {"Call: Bob", R"("Call: Bob")"},
      {" leading", R"(" leading")"},
      {"trailing ", R"("trailing ")"},
      {R"(say "hi")", R"("say \"hi\"")"},
      {R"(C:\dir)", R"("C:\\dir")"},
      {"two\nlines", "\"two\nlines\""},
      {"~", R"("~")"},
      {"🌱", "\"🌱\""},
      {"#tag", R"("#tag")"},
      // A reader would take these for syntax rather than text.
      {"@home", R"("@home")"},
      {"-", R"("-")"},
      {"- item", R"("- item")"},
      {"-x", "-x"},
      // Characters YAML does not allow in a file at all are escaped, so that the file stays readable.
      {"bell\x07", R"("bell\x07")"},
      {"del\x7f", R"("del\x7F")"},
      {"tab\there", "\"tab\there\""},
  };
  for (const auto& [text, written] : cases) {
    EXPECT_EQ(YAMLScalar::quoted(text), written) << text;
  }
}

/// Text from every class a title may hold: scripts, emoji sequences, marks, right-to-left, quotes,
/// backslashes, YAML's own indicators and words, blanks at either end, and now and then a very long one.
class TextGenerator {
public:
  explicit TextGenerator(std::uint32_t seed) : random_(seed) {}

  std::string text() {
    static const std::vector<std::string> pieces{
        "a",   "Z",    "7",     " ",       "  ",     "_",      "-",
        "/",   ".",    "@",     ":",       ": ",     "#",      " #",
        "'",   "\"",   "\\",    "\t",      "?",      "!",      "%",
        "&",   "*",    "|",     ">",       "{",      "}",      "[",
        "]",   ",",    "é",     "e\u0301", "ß",      "漢字",   "かな",
        "한",  "שלום", "مرحبا", "\u200f",  "\u202e", "🌱",      "👩‍👩‍👧",
        "🇩🇪",  "yes",  "null",  "~",       "123",    "0x1F",   "1e3",
        "---", "...",  "true",  "\x07",    "\x7f",   "\u0085", "\u2028"};
    if (random_() % 40 == 0) {
      return std::string(10'000 + random_() % 100, 'x');
    }
    std::string text;
    const auto length = random_() % 8;
    for (std::uint32_t index = 0; index < length; ++index) {
      text += pieces[random_() % pieces.size()];
    }
    return text;
  }
  /// A purpose: lines of text, the last one maybe empty.
  std::string purpose() {
    std::string purpose;
    const auto lines = 1 + random_() % 4;
    for (std::uint32_t line = 0; line < lines; ++line) {
      purpose += (line ? "\n" : "") + text();
    }
    return purpose.empty() ? "x" : purpose;
  }
  std::uint32_t next() { return random_(); }

private:
  std::mt19937 random_;
};

/// What a file carries of a text once read back: a line break inside quotes reads as a blank, which the
/// generator never asks of a single-line value.
bool carriesExactly(const std::string& text) {
  return text.find_first_of("\n\r") == std::string::npos && text.find("\u0085") == std::string::npos &&
         text.find("\u2028") == std::string::npos;
}

// Whatever the store holds, a written file reads back as the same values.
TEST(YAMLBridgeFiles, EveryWrittenFileReadsBackAsTheValuesItWasWrittenFrom) {
  testing::ScopedDeviceSettings zone("Pacific/Kiritimati");
  TextGenerator generate(20261125);
  for (int round = 0; round < 200; ++round) {
    const auto text = [&] {
      auto value = generate.text();
      return carriesExactly(value) ? value : std::string("plain");
    };
    const auto day =
        CalendarDate{2026, 1 + std::int64_t(generate.next() % 12), 1 + std::int64_t(generate.next() % 28)};

    ProjectRecord project{.recordName = "p-" + std::to_string(round),
                          .name = text(),
                          .status = generate.next() % 2 ? "active" : "archived",
                          .purpose = generate.next() % 3 ? std::optional(generate.purpose()) : std::nullopt,
                          .dueDate = generate.next() % 2 ? std::optional(day.localNoon()) : std::nullopt};
    std::vector<ProjectItem> items;
    YAMLBridgeSerializer::Schedules schedules;
    YAMLBridgeSerializer::Subtasks subtasks;
    std::vector<ProjectFile::Item> expectedItems;
    const auto count = generate.next() % 6;
    for (std::uint32_t index = 0; index < count; ++index) {
      if (generate.next() % 4 == 0) {
        const auto title = text();
        items.push_back(ProjectItem::header({.recordName = "h-" + std::to_string(index), .title = title}));
        expectedItems.emplace_back(ProjectFile::Header{title});
        continue;
      }
      auto record = task("t-" + std::to_string(index), text(), generate.next() % 2 == 0);
      BridgeTaskItem expected{.id = record.recordName, .title = record.title, .done = record.done};
      if (generate.next() % 2) {
        record.dueDate = day.localNoon();
        expected.dueDate = day;
      }
      if (generate.next() % 2) {
        const auto gap = generate.next() % 2 ? std::optional<std::string>("09:30") : std::nullopt;
        schedules[record.recordName] = {.taskRef = record.recordName, .date = day.noonUTC(), .gapTime = gap};
        expected.me = BridgeTaskItem::Me{.date = day, .gap = gap};
      }
      for (std::uint32_t child = generate.next() % 3; child > 0; --child) {
        auto subtask = task(record.recordName + "-" + std::to_string(child), text(), child % 2 == 0);
        expected.subtasks.push_back({.title = subtask.title, .done = subtask.done});
        subtasks[record.recordName].push_back(std::move(subtask));
      }
      items.push_back(ProjectItem::task(record));
      expectedItems.emplace_back(std::move(expected));
    }
    const UserProjectPlacementRecord placement{.sortIndex = std::int64_t(generate.next()) - (1LL << 31),
                                               .isPinned = generate.next() % 2 == 0};
    const auto written = YAMLBridgeSerializer::renderProject(project, items, stamp("2026-03-07T10:05:09Z"),
                                                             &placement, schedules, subtasks);
    ProjectFile read;
    ASSERT_NO_THROW(read = ProjectFile::parse(written, "p.yaml")) << written;
    EXPECT_EQ(read.project,
              (ProjectFile::Project{.id = project.recordName,
                                    .name = project.name,
                                    .status = project.status,
                                    .purpose = project.purpose,
                                    .dueDate = project.dueDate ? std::optional(day) : std::nullopt,
                                    .lastEdited = stamp("2026-03-07T10:05:09Z"),
                                    .pinned = placement.isPinned,
                                    .sortIndex = placement.sortIndex}))
        << written;
    EXPECT_EQ(read.tasks, expectedItems) << written;

    const std::vector<GapRecord> gaps{{.time = "09:05", .label = text(), .reminder = true},
                                      {.time = "13:00"}};
    const auto dayFile = DayFile::parse(YAMLBridgeSerializer::renderDay(day, gaps), "day.yaml");
    EXPECT_EQ(dayFile.date, day);
    ASSERT_EQ(dayFile.gaps.size(), 2u);
    EXPECT_EQ(dayFile.gaps[0],
              (DayFile::Gap{"09:05", gaps[0].label->empty() ? std::nullopt : gaps[0].label, true}));
    EXPECT_EQ(dayFile.gaps[1], (DayFile::Gap{"13:00", std::nullopt, false}));

    const InboxItemRecord item{
        .recordName = "i-1", .title = text(), .capturedAt = stamp("2026-03-07T08:00:00Z"), .notes = text()};
    const auto inbox = InboxFile::parse(YAMLBridgeSerializer::renderInbox({&item, 1}), "inbox.yaml");
    EXPECT_EQ(inbox.items, (std::vector<InboxFile::Item>{{item.recordName, item.title, item.capturedAt,
                                                          item.notes->empty() ? std::nullopt : item.notes}}));

    const AreaRecord area{.recordName = "a-1", .name = text(), .color = "blue", .icon = "house"};
    const std::vector<YAMLBridgeSerializer::AreaEntry> areas{{"a-1", area}};
    const auto areasFile = AreasFile::parse(YAMLBridgeSerializer::renderAreas(areas, {}), "areas.yaml");
    EXPECT_EQ(areasFile.areas, (std::vector<AreasFile::Area>{{"a-1", area.name, "blue", "house"}}));
  }
}

// What the format cannot carry exactly is folded the way a YAML reader folds it, and nothing else.
TEST(YAMLBridgeFiles, ALineBreakInAQuotedTextReadsBackAsABlank) {
  const std::pair<std::string, std::string> cases[] = {
      {"two\nlines", "two lines"},
      {"trailing blank \nnext", "trailing blank next"},
      {"a\n\nb", "a\nb"},
  };
  for (const auto& [title, read] : cases) {
    const std::vector<TaskRecord> tasks{task("t-1", title)};
    const auto file =
        AreaTasksFile::parse(YAMLBridgeSerializer::renderAreaTasks({}, tasks, std::nullopt, {}, {}), "a");
    EXPECT_EQ(file.tasks.at(0).title, read);
  }
}

} // namespace
} // namespace vantrel
