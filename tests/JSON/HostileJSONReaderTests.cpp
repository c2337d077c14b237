#include "Linux/FileNotificationCenter.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "Linux/PreferencesFileError.hpp"
#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "VantrelCore/Store/SharedRecordStore.hpp"
#include "VantrelCore/Store/SyncStatus.hpp"
#include "VantrelCore/Store/UndoableAction.hpp"
#include "VantrelCore/Sync/SyncEngineState.hpp"
#include "VantrelCore/Widget/AppRoute.hpp"
#include "VantrelCore/Widget/GapWidgetData.hpp"
#include "VantrelCore/Widget/PendingIntentAction.hpp"
#include "tests/Support/CommandLineRun.hpp"
#include "tests/Support/FilledRecords.hpp"
#include "tests/Support/HostileInputs.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {
namespace {

namespace fs = std::filesystem;
using testing::filledRecord;

const CalendarDate day{2026, 3, 7};

/// Every record type with every field set, and a day the widget reads: a gap, a task planned into it with
/// a subtask, and a project task with the user's placement.
CloudKitCacheSnapshot variedSnapshot() {
  CloudKitCacheSnapshot snapshot;
  const auto addFilled = [&]<class... Records>() {
    (..., [&] {
      auto record = filledRecord<Records>();
      snapshot.records<Records>().emplace(record.recordName, record);
    }());
  };
  addFilled.operator()<AreaRecord, AreaSectionRecord, ProjectRecord, ProjectSectionRecord, TaskRecord,
                       InboxItemRecord, DayRecord, GapRecord, UserProjectPlacementRecord,
                       UserTaskScheduleRecord, UserProjectSectionStateRecord, SharingUserNameRecord>();
  snapshot.schemaVersion = filledRecord<SchemaVersionRecord>();
  snapshot.currentUserRef = "u-me";
  snapshot.areas["home"] = {"home", "Home", "green", "house", 1000, false};
  snapshot.projects["p-1"] = {.recordName = "p-1", .name = "Garden"};
  snapshot.gaps["g-1"] = {
      .recordName = "g-1", .dayRef = day.description(), .time = "09:00", .reminder = true};
  snapshot.tasks["t-1"] = {.recordName = "t-1", .homeRef = "home", .title = "Dig \"deep\" ✓"};
  snapshot.tasks["t-2"] = {.recordName = "t-2", .homeRef = "home", .parentTaskRef = "t-1", .title = "Spade"};
  snapshot.tasks["t-3"] = {.recordName = "t-3", .homeRef = "p-1", .title = "Rake", .dueDate = Date{8e8}};
  for (const std::string task : {"t-1", "t-3"}) {
    snapshot.userTaskSchedules["ut-" + task] = {"ut-" + task, "u-me", task, day.noonUTC(), "09:00"};
  }
  snapshot.userProjectPlacements["up-1"] = {"up-1", "u-me", "p-1", "home", 0, true};
  return snapshot;
}

std::string engineStateText() {
  SyncEngineState state;
  const CloudRecordZoneID zone{"Vantrel", "_owner \"é\""};
  state.setUserRecordName("_user");
  state.setDatabaseChangeToken(CloudChangeToken{std::string("\0\xff token", 8)});
  state.setZoneChangeToken(zone, CloudChangeToken{"zone token"});
  const PendingDatabaseChange zoneChange{PendingDatabaseChange::Kind::deleteZone, zone};
  state.add(std::span(&zoneChange, 1));
  const PendingRecordZoneChange changes[] = {PendingRecordZoneChange::save({"t-1", zone}),
                                             PendingRecordZoneChange::remove({"t-\"2\"", zone})};
  state.add(changes);
  return state.serialized();
}

std::string syncStatusText() {
  SyncStatus status{.lastFetch = filledRecord<WriteOutcome>(),
                    .consecutiveFetchFailures = 3,
                    .pendingSince = Date{8e8},
                    .lastUIError = filledRecord<UIError>()};
  status.recentConflicts = {filledRecord<SyncConflict>(), SyncConflict{}};
  return status.encodeJSON();
}

std::string sharedRecordsText() {
  SharedRecordStore store;
  const auto project = filledRecord<ProjectRecord>();
  const auto task = filledRecord<TaskRecord>();
  const auto section = filledRecord<ProjectSectionRecord>();
  store.projects[project.recordName] = project;
  store.tasks[task.recordName] = task;
  store.sections[section.recordName] = section;
  store.systemFields[task.recordName] = std::string("\0\x01\xfe", 3);
  return store.encodeJSON();
}

std::string deletedTasksText() {
  const auto schedule = filledRecord<UserTaskScheduleRecord>();
  DeletedTaskSnapshot deleted{
      .task = filledRecord<TaskRecord>(), .mySchedule = schedule, .deletedAt = Date{8e8}};
  deleted.subtasks = {{filledRecord<TaskRecord>(), schedule}, {TaskRecord{}, std::nullopt}};
  return UndoableAction{UndoableAction::DeleteTasks{{deleted}}}.encodeJSON();
}

std::string movesText() {
  const std::vector<ScheduleMove> moves{{"t-1", Date{8e8}, "09:00", Date{8.1e8}, std::nullopt}, {"t-\"2\""}};
  return UndoableAction{UndoableAction::Schedule{moves}}.encodeJSON();
}

std::string queueText() {
  return PendingIntentAction::encodeList(
      {{.id = "a-1", .taskRecordName = "t-1", .done = true, .createdAt = Date{8e8}},
       {.id = "a-2", .taskRecordName = "t-\"é\"", .createdAt = Date{8.1e8}}});
}

/// One reader of a JSON file: a valid text of it, and its read, which answers none when it read the text
/// and the text of its documented error when it refused it. Any other exception leaves the read.
struct JSONReader {
  std::string name;
  std::string valid;
  std::function<std::optional<std::string>(const std::string&)> read;
  /// What each refusal's text starts with; what the refusal of a deep document says.
  std::string refusalStart{};
  std::string depthRefusal = "More than 64 nested arrays and objects.";
};

template <class Error, class Read> auto refusalOf(Read read) {
  return [read](const std::string& text) -> std::optional<std::string> {
    try {
      read(text);
      return std::nullopt;
    } catch (const Error& error) {
      return error.what();
    }
  };
}

void writeFile(const fs::path& file, const std::string& text) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

class HostileJSONReaderTest : public ::testing::Test {
protected:
  std::vector<JSONReader> readers() const {
    const auto preferences = folder_.path() / "Preferences" / "shared.json";
    const auto notifications = folder_.path() / "notifications.json";
    JSONFilePreferences writer(preferences);
    writer.setValue("count", std::int64_t{-7});
    writer.setValue("on", true);
    writer.setValue("text", std::string("Grüße \"q\" \\ \n"));
    writer.setValue("list", std::vector<std::string>{"", "ü"});
    writer.setValue("blob", PreferenceData{std::string("\0\xff", 2)});
    FileNotificationCenter center(notifications);
    center.requestAuthorization();
    center.add({"n-1", "Gap \"Morning\" ✓", "Dig", true, 2026, 3, 7, 9, 0});
    center.add({"n-2", "Noon", std::nullopt, false, 2026, 3, 7, 13, 30});
    center.setBadgeCount(2);
    const auto snapshot = variedSnapshot().encodeJSON();
    return {
        {"snapshot", snapshot, refusalOf<DecodingError>(CloudKitCacheSnapshot::decodeJSON)},
        {"widget's snapshot reader", snapshot,
         refusalOf<DecodingError>([](const std::string& text) { GapWidgetData::read(text, day); }), "",
         "nesting too deep"},
        {"engine state", engineStateText(), refusalOf<DecodingError>(SyncEngineState::deserialize)},
        {"sync status", syncStatusText(), refusalOf<DecodingError>(SyncStatus::decodeJSON)},
        {"undo of deleted tasks", deletedTasksText(), refusalOf<DecodingError>(UndoableAction::decodeJSON)},
        {"undo of moves", movesText(), refusalOf<DecodingError>(UndoableAction::decodeJSON)},
        {"shared records", sharedRecordsText(), refusalOf<DecodingError>(SharedRecordStore::decodeJSON)},
        {"intent queue", queueText(), refusalOf<DecodingError>(PendingIntentAction::decodeList)},
        {"app route", AppRoute::project("p-\"é\"").encodeJSON(),
         refusalOf<DecodingError>(AppRoute::decodeJSON)},
        {"preferences", *PosixFileSystem::shared().readFile(preferences),
         refusalOf<PreferencesFileError>([preferences](const std::string& text) {
           writeFile(preferences, text);
           JSONFilePreferences(preferences).value("text");
         }),
         "preferences file " + preferences.string() + " is unreadable: "},
        {"notifications", *PosixFileSystem::shared().readFile(notifications),
         refusalOf<std::runtime_error>([notifications](const std::string& text) {
           writeFile(notifications, text);
           FileNotificationCenter(notifications).pendingRequests();
         }),
         "notification file " + notifications.string() + " cannot be read: "},
    };
  }

  testing::ScopedDeviceSettings settings_{"Europe/Berlin"};
  testing::TemporaryFolder folder_;
};

TEST_F(HostileJSONReaderTest, EachReaderReadsItsOwnFileAndRefusesHostileOnesOnlyWithItsOwnError) {
  ASSERT_EQ(GapWidgetData::read(variedSnapshot().encodeJSON(), day).records.tasks.size(), 3u)
      << "the widget's reader decodes records of the variants";
  for (const auto& reader : readers()) {
    SCOPED_TRACE(reader.name);
    EXPECT_EQ(reader.read(reader.valid), std::nullopt);
    EXPECT_EQ(reader.read("\xEF\xBB\xBF" + reader.valid), std::nullopt) << "a byte order mark is skipped";
    auto corpus = testing::hostileVariants(reader.valid, 20261124, 300);
    std::size_t refused = 0;
    for (const auto& variant : corpus) {
      try {
        const auto refusal = reader.read(variant);
        refused += refusal.has_value();
        EXPECT_TRUE(!refusal || refusal->starts_with(reader.refusalStart)) << *refusal;
      } catch (const std::exception& error) {
        ADD_FAILURE() << "undocumented error " << error.what() << " for "
                      << ::testing::PrintToString(variant);
      }
    }
    EXPECT_GE(refused, 12u) << "every cut and the doubled text are refused";

    const auto firstString = reader.valid.find('"') + 1;
    const auto lastString = reader.valid.rfind('"');
    const std::string refusedTexts[] = {
        std::string(reader.valid).insert(firstString, "\xE9"),
        std::string(reader.valid).insert(lastString, "caf\xE9"),
        std::string(reader.valid).insert(firstString, "\\udc00"),
        std::string(reader.valid).insert(firstString, "\\ud800x"),
        reader.valid + std::string(1, '\0') + reader.valid,
        testing::deeplyNestedJSON(200'000, false),
    };
    for (const auto& text : refusedTexts) {
      EXPECT_NE(reader.read(text), std::nullopt) << ::testing::PrintToString(text.substr(0, 200));
    }
    const auto refusal = reader.read(testing::deeplyNestedJSON(200'000, true));
    ASSERT_NE(refusal, std::nullopt);
    EXPECT_NE(refusal->find(reader.depthRefusal), std::string::npos) << *refusal;
  }
}

// The widget finds a subtask's parent in the record's text and then decodes the record: both must see one
// value, or the parent found would be none after the decode.
TEST_F(HostileJSONReaderTest, TheWidgetsReaderRefusesARecordThatGivesAFieldTwice) {
  const std::string parent(40, 'p');
  auto snapshot = variedSnapshot();
  snapshot.tasks["t-1"].recordName = parent;
  snapshot.tasks.emplace(parent, snapshot.tasks.extract("t-1").mapped());
  snapshot.userTaskSchedules["ut-t-1"].taskRef = parent;
  snapshot.tasks["t-2"].parentTaskRef = parent;
  auto text = snapshot.encodeJSON();
  const auto subtask = text.find(R"("recordName":"t-2")");
  text.insert(text.find('}', subtask), R"(,"parentTaskRef":null)");
  EXPECT_THROW(GapWidgetData::read(text, day), DecodingError);
}

TEST(ParseJSON, RefusesWhatItsParserAloneWouldLetThroughAndSaysWhere) {
  const std::pair<std::string, std::string> cases[] = {
      {testing::deeplyNestedJSON(64, false), ""},
      {testing::deeplyNestedJSON(64, true), ""},
      {testing::deeplyNestedJSON(65, false), "More than 64 nested arrays and objects. (line 1, column 65)"},
      {"{\n\"a\":" + testing::deeplyNestedJSON(64, true) + "}",
       "More than 64 nested arrays and objects. (line 2, column 320)"},
      {R"(["\udc00"])", "The surrogate pair in string is invalid. (line 1, column 10)"},
      {R"(["\ud83d\ude00"])", ""},
      {std::string("{}\0{}", 5),
       "The document root must not be followed by other values. (line 1, column 3)"},
      {"\xEF\xBB\xBF{}", ""},
      {"\xBB{}", "Invalid value. (line 1, column 1)"},
  };
  for (const auto& [text, problem] : cases) {
    try {
      parseJSON(text);
      EXPECT_EQ(problem, "") << "read " << text;
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.debugDescription(), "The given data was not valid JSON: " + problem);
    }
  }
}

// Whole programs on a profile whose shared files nest 200,000 deep: a clear error where the file is
// needed, a run without it where it can be rebuilt or done without, never a crash.
TEST(HostileJSONProfile, TheProgramsSurviveDeepSharedPreferencesAndSnapshot) {
  testing::TemporaryFolder folder;
  const auto profile = folder.path() / "profile";
  const auto paths = VantrelPaths::resolve(profile, [](std::string_view) { return std::nullopt; });
  const auto snapshotFile = paths.sharedDirectory() / "cache-snapshot.json";
  const std::string options = "--tz Europe/Berlin --now 2026-03-07T08:00 --profile " + profile.string();
  const std::string deepRefusal = "More than 64 nested arrays and objects.";
  const struct {
    bool deepPreferences;
    bool deepSnapshot;
    bool widget;
    std::string arguments;
    int exitCode;
    std::string output;
  } runs[] = {
      {true, false, true, " --snapshot", 1, deepRefusal}, // the day has a gap: its window is read
      {true, true, true, " --snapshot", 0, "noGaps"},
      {true, true, false, " --offline task list", 1, deepRefusal},
      {false, true, false, " --offline task list", 0, "Failed to restore cache snapshot"},
  };
  for (const auto& run : runs) {
    SCOPED_TRACE(run.arguments);
    fs::remove(paths.sharedPreferencesFile);
    if (run.deepPreferences) {
      writeFile(paths.sharedPreferencesFile, testing::deeplyNestedJSON(200'000, true));
    }
    writeFile(snapshotFile,
              run.deepSnapshot ? testing::deeplyNestedJSON(200'000, false) : variedSnapshot().encodeJSON());
    const auto result = run.widget ? testing::runVantrelWidget(options + run.arguments)
                                   : testing::runVantrel(options + run.arguments);
    EXPECT_EQ(result.exitCode, run.exitCode) << result.output;
    EXPECT_NE(result.output.find(run.output), std::string::npos) << result.output;
  }
}

} // namespace
} // namespace vantrel
