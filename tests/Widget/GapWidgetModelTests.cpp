#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Planning/CalendarGapPreferences.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/InMemoryPreferences.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "VantrelCore/Widget/GapTimelineProvider.hpp"
#include "VantrelCore/Widget/GapWidgetModel.hpp"
#include "VantrelCore/Widget/TaskEntityQuery.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <rapidjson/prettywriter.h>
#include <tuple>

namespace vantrel {
namespace {

// Saturday 2026-03-07. In Berlin (UTC+1 then) 08:00 is 794559600 seconds after 2001-01-01.
const CalendarDate saturday{2026, 3, 7};

// A day of two gaps and one whose time does not read; tasks of an area and of a project, one of another
// user, one planned on another day, one of a project shared with the user (placed, not held).
constexpr std::string_view snapshotJSON = R"({"snapshotVersion":1,"currentUserRef":"u-me",
"areas":{"home":{"recordName":"home","name":"Home","color":"green","icon":"house","sortIndex":2000,"isHidden":false},
 "work":{"recordName":"work","name":"Work","color":"blue","icon":"case","sortIndex":1000,"isHidden":false}},
"projects":{"p-site":{"recordName":"p-site","name":"Site","status":"active"}},
"tasks":{
 "t-dig":{"recordName":"t-dig","homeRef":"home","title":"Dig","done":false,"sortIndex":1000},
 "t-spade":{"recordName":"t-spade","homeRef":"home","parentTaskRef":"t-dig","title":"Find the \"spade\"","done":true,"sortIndex":1000},
 "t-deploy":{"recordName":"t-deploy","homeRef":"p-site","title":"Deploy","done":false,"dueDate":794620800,"sortIndex":1000},
 "t-review":{"recordName":"t-review","homeRef":"p-shared","title":"Review","done":false,"sortIndex":1000},
 "t-other":{"recordName":"t-other","homeRef":"home","title":"Someone else's","done":false,"sortIndex":3000},
 "t-sunday":{"recordName":"t-sunday","homeRef":"home","title":"Sunday","done":false,"sortIndex":4000},
 "t-cook":{"recordName":"t-cook","homeRef":"home","title":"Cook","done":false,"sortIndex":5000}},
"projectSections":{},"areaSections":{},"days":{},
"gaps":{
 "g-morning":{"recordName":"g-morning","dayRef":"2026-03-07","time":"09:00","label":"Morning","reminder":false,"sortIndex":1000},
 "g-noon":{"recordName":"g-noon","dayRef":"2026-03-07","time":"13:00","reminder":true,"sortIndex":1000},
 "g-bad":{"recordName":"g-bad","dayRef":"2026-03-07","time":"9h","reminder":false,"sortIndex":1000},
 "g-sunday":{"recordName":"g-sunday","dayRef":"2026-03-08","time":"10:00","reminder":false,"sortIndex":1000}},
"inbox":{},
"userProjectPlacements":{
 "up-1":{"recordName":"up-1","userRef":"u-me","projectRef":"p-site","areaRef":"work","sortIndex":1000,"isPinned":false},
 "up-2":{"recordName":"up-2","userRef":"u-me","projectRef":"p-shared","areaRef":"work","sortIndex":2000,"isPinned":false}},
"userTaskSchedules":{
 "ut-1":{"recordName":"ut-1","userRef":"u-me","taskRef":"t-dig","date":794577600,"gapTime":"09:00"},
 "ut-2":{"recordName":"ut-2","userRef":"u-me","taskRef":"t-deploy","date":794577600,"gapTime":"09:00"},
 "ut-3":{"recordName":"ut-3","userRef":"u-me","taskRef":"t-review","date":794577600,"gapTime":"09:00"},
 "ut-4":{"recordName":"ut-4","userRef":"u-other","taskRef":"t-other","date":794577600,"gapTime":"09:00"},
 "ut-5":{"recordName":"ut-5","userRef":"u-me","taskRef":"t-sunday","date":794664000,"gapTime":"09:00"},
 "ut-6":{"recordName":"ut-6","userRef":"u-me","taskRef":"t-cook","date":794577600,"gapTime":"13:00"}},
"userProjectSectionStates":{},"sharingUserNames":{}})";

constexpr std::string_view morningTasks =
    R"([{"id":"t-deploy","title":"Deploy","done":false,"dueDate":"2026-03-08T01:00:00+01:00","isSubtask":false,"canToggle":true},)"
    R"({"id":"t-review","title":"Review","done":false,"dueDate":null,"isSubtask":false,"canToggle":false},)"
    R"({"id":"t-dig","title":"Dig","done":false,"dueDate":null,"isSubtask":false,"canToggle":true},)"
    R"({"id":"t-spade","title":"Find the \"spade\"","done":true,"dueDate":null,"isSubtask":true,"canToggle":true}])";

const std::string expectedTimeline =
    std::string(
        R"([{"date":"2026-03-07T08:00:00+01:00","model":{"state":"nextGap","gapRecordName":"g-morning",)") +
    R"("gapClockLabel":"9:00 AM","gapLabel":"Morning","isRunning":false,"tasks":)" +
    std::string(morningTasks) +
    R"(,"taskCount":3,"doneCount":0,"upcomingGaps":[{"label":"1:00 PM","clockLabel":"1:00 PM"}],)"
    R"("asOf":"2026-03-07T08:00:00+01:00","deepLinkURL":"vantrel://today?gap=g-morning"}},)"
    R"({"date":"2026-03-07T09:00:00+01:00","model":{"state":"currentGap","gapRecordName":"g-morning",)"
    R"("gapClockLabel":"9:00 AM","gapLabel":"Morning","isRunning":true,"tasks":)" +
    std::string(morningTasks) +
    R"(,"taskCount":3,"doneCount":0,"upcomingGaps":[{"label":"1:00 PM","clockLabel":"1:00 PM"}],)"
    R"("asOf":"2026-03-07T09:00:00+01:00","deepLinkURL":"vantrel://today?gap=g-morning"}},)"
    R"({"date":"2026-03-07T13:00:00+01:00","model":{"state":"currentGap","gapRecordName":"g-noon",)"
    R"("gapClockLabel":"1:00 PM","gapLabel":"1:00 PM","isRunning":true,)"
    R"("tasks":[{"id":"t-cook","title":"Cook","done":false,"dueDate":null,"isSubtask":false,"canToggle":true}],)"
    R"("taskCount":1,"doneCount":0,"upcomingGaps":[],"asOf":"2026-03-07T13:00:00+01:00","deepLinkURL":"vantrel://today?gap=g-noon"}},)"
    R"({"date":"2026-03-07T20:00:00+01:00","model":{"state":"noGaps","gapRecordName":null,"gapClockLabel":"","gapLabel":"",)"
    R"("isRunning":false,"tasks":[],"taskCount":0,"doneCount":0,"upcomingGaps":[],"asOf":"2026-03-07T20:00:00+01:00",)"
    R"("deepLinkURL":null}},)"
    R"({"date":"2026-03-08T00:00:00+01:00","model":{"state":"noGaps","gapRecordName":null,"gapClockLabel":"","gapLabel":"",)"
    R"("isRunning":false,"tasks":[],"taskCount":0,"doneCount":0,"upcomingGaps":[],"asOf":"2026-03-08T00:00:00+01:00",)"
    R"("deepLinkURL":null}}])";

class GapWidgetModelTest : public ::testing::Test {
protected:
  void writeShared(std::string_view name, std::string_view text) {
    std::filesystem::create_directories(shared_);
    std::ofstream(shared_ / name) << text;
  }
  GapWidgetEnvironment environment() { return {shared_, PosixFileSystem::shared(), preferences_}; }
  static Date at(int hour, int minute = 0) { return *saturday.localTime(hour, minute); }
  static std::string timelineJSON(const GapTimeline& timeline) {
    JSONWriter json;
    json.startArray();
    for (const auto& entry : timeline.entries) {
      entry.writeJSON(json);
    }
    json.endArray();
    return json.takeText();
  }

  testing::ScopedDeviceSettings settings_{"Europe/Berlin"};
  testing::TemporaryFolder folder_;
  std::filesystem::path shared_ = folder_.path() / "Vantrel";
  InMemoryPreferences preferences_;
};

TEST_F(GapWidgetModelTest, TheTimelineSwitchesAtGapsWindowEndAndMidnightOfTheDeviceZone) {
  writeShared("cache-snapshot.json", snapshotJSON);
  FixedClock clock(at(8));
  GapTimeline timeline;
  GapTimelineProvider(environment(), clock).getTimeline(GapWidgetSize::medium, [&](GapTimeline built) {
    timeline = std::move(built);
  });
  EXPECT_EQ(timelineJSON(timeline), expectedTimeline);
  EXPECT_EQ(timeline.policy, GapTimeline::ReloadPolicy::atEnd);

  // Later in the day the timeline starts at that instant and drops what has passed.
  const auto afternoon = GapWidgetModel::timeline(at(14, 30), environment());
  ASSERT_EQ(afternoon.size(), 3u);
  EXPECT_EQ(afternoon[0].asOf, at(14, 30));
  EXPECT_EQ(afternoon[0].gapRecordName, "g-noon");
  EXPECT_EQ(afternoon[1].asOf, at(20));
  EXPECT_EQ(afternoon[2].asOf, *saturday.adding(1).localTime(0));

  for (const auto* zone : {"America/New_York", "Australia/Sydney", "Asia/Kolkata", "UTC"}) {
    testing::ScopedDeviceSettings zoneSettings(zone);
    std::vector<Date> instants;
    for (const auto& model : GapWidgetModel::timeline(at(8), environment())) {
      instants.push_back(model.asOf);
    }
    const std::vector<Date> expected{at(8), at(9), at(13), at(20), *saturday.adding(1).localTime(0)};
    EXPECT_EQ(instants, expected) << zone;
  }

  // The planning window comes from the shared preferences.
  CalendarGapPreferences(preferences_, nullptr).setDayEndHour(18);
  const auto models = GapWidgetModel::timeline(at(13), environment());
  ASSERT_EQ(models.size(), 3u);
  EXPECT_EQ(models[1].asOf, at(18));
  EXPECT_EQ(models[1].state, GapWidgetModel::State::noGaps);
}

// Gap times are times of day, not texts: in text order "13:00" would come before "9:05".
TEST_F(GapWidgetModelTest, GapsFollowTheClockWhateverTheirTimesLookLike) {
  CloudKitCacheSnapshot snapshot;
  snapshot.currentUserRef = "u-me";
  snapshot.areas["home"] = {.recordName = "home", .name = "Home"};
  snapshot.gaps["g-early"] = {.recordName = "g-early", .dayRef = "2026-03-07", .time = "9:05"};
  snapshot.gaps["g-noon"] = {.recordName = "g-noon", .dayRef = "2026-03-07", .time = "13:00"};
  snapshot.tasks["t-dig"] = {.recordName = "t-dig", .homeRef = "home", .title = "Dig"};
  snapshot.userTaskSchedules["ut-1"] = {.recordName = "ut-1",
                                        .userRef = "u-me",
                                        .taskRef = "t-dig",
                                        .date = saturday.noonUTC(),
                                        .gapTime = "09:05"};
  writeShared("cache-snapshot.json", snapshot.encodeJSON());
  const auto waiting = GapWidgetModel::load(at(8), environment());
  EXPECT_EQ(waiting.state, GapWidgetModel::State::nextGap);
  EXPECT_EQ(waiting.gapRecordName, "g-early");
  EXPECT_EQ(waiting.gapClockLabel, "9:05 AM");
  EXPECT_EQ(waiting.upcomingGaps, (std::vector<GapWidgetModel::Upcoming>{{"1:00 PM", "1:00 PM"}}));
  ASSERT_EQ(waiting.tasks.size(), 1u) << "planned at 09:05, the gap's time";
  EXPECT_EQ(waiting.tasks[0].id, "t-dig");
  const auto running = GapWidgetModel::load(at(10), environment());
  EXPECT_EQ(running.state, GapWidgetModel::State::currentGap);
  EXPECT_EQ(running.gapRecordName, "g-early");
  EXPECT_EQ(GapWidgetModel::load(at(13, 30), environment()).gapRecordName, "g-noon");
}

// On the days the clocks change, gaps begin at their times on that day's clock and the day starts at its
// hour; an open-ended gap before the day start gives way to it, and never hides the gaps after it.
TEST_F(GapWidgetModelTest, OnClockChangeDaysEachGapShowsFromItsTimeOnTheClock) {
  const struct {
    const char* zone;
    CalendarDate day;
  } days[] = {{"America/New_York", {2026, 3, 8}},
              {"America/New_York", {2026, 11, 1}},
              {"Europe/Berlin", {2026, 3, 29}},
              {"Europe/Berlin", {2026, 10, 25}}};
  using State = GapWidgetModel::State;
  for (const auto& [zone, day] : days) {
    testing::ScopedDeviceSettings zoneSettings(zone);
    CloudKitCacheSnapshot snapshot;
    snapshot.gaps["g-early"] = {.recordName = "g-early", .dayRef = day.description(), .time = "07:30"};
    snapshot.gaps["g-nine"] = {.recordName = "g-nine", .dayRef = day.description(), .time = "09:00"};
    writeShared("cache-snapshot.json", snapshot.encodeJSON());
    const auto clock = [&](int hour, int minute = 0) { return *day.localTime(hour, minute); };
    const std::vector<std::tuple<Date, State, std::optional<std::string>>> expected{
        {clock(7), State::nextGap, "g-early"},    {clock(7, 30), State::currentGap, "g-early"},
        {clock(8), State::nextGap, "g-nine"},     {clock(9), State::currentGap, "g-nine"},
        {clock(20), State::noGaps, std::nullopt}, {*day.adding(1).localTime(0), State::noGaps, std::nullopt}};
    std::vector<std::tuple<Date, State, std::optional<std::string>>> shown;
    for (const auto& model : GapWidgetModel::timeline(clock(7), environment())) {
      shown.emplace_back(model.asOf, model.state, model.gapRecordName);
    }
    EXPECT_EQ(shown, expected) << zone << " " << day;
  }
}

TEST_F(GapWidgetModelTest, QueuedTogglesShowAtOnceAndTheLastForATaskWins) {
  writeShared("cache-snapshot.json", snapshotJSON);
  writeShared(
      "intent-actions.json",
      R"([{"id":"A","kind":"markDone","taskRecordName":"t-dig","done":true,"createdAt":794559000},)"
      R"({"id":"B","kind":"markDone","taskRecordName":"t-deploy","done":true,"createdAt":794559001},)"
      R"({"id":"C","kind":"markDone","taskRecordName":"t-dig","done":false,"createdAt":794559002},)"
      R"({"id":"D","kind":"markDone","taskRecordName":"t-spade","done":false,"createdAt":794559003}])");
  const auto model = GapWidgetModel::load(at(9, 30), environment());
  ASSERT_EQ(model.tasks.size(), 4u);
  EXPECT_TRUE(model.tasks[0].done);  // t-deploy
  EXPECT_FALSE(model.tasks[2].done); // t-dig: done, then not done
  EXPECT_FALSE(model.tasks[3].done); // t-spade
  EXPECT_EQ(model.doneCount, 1);

  writeShared("intent-actions.json", R"([{"id":"A","kind":"archive","taskRecordName":"t-dig"}])");
  EXPECT_EQ(GapWidgetModel::load(at(9, 30), environment()).doneCount, 0) << "an unreadable queue is empty";
}

TEST_F(GapWidgetModelTest, WithoutAReadableSnapshotThereIsNoDataToShow) {
  const std::string truncated(snapshotJSON.substr(0, snapshotJSON.size() / 2));
  std::string mistyped(snapshotJSON);
  mistyped.replace(mistyped.find(R"("time":"13:00")"), 14, R"("time":1300)");
  std::string inboxMistyped(snapshotJSON);
  inboxMistyped.replace(inboxMistyped.find(R"("inbox":{})"), 10,
                        R"("inbox":{"i-1":{"recordName":"i-1","title":5,"capturedAt":0,"sortIndex":0}})");
  const struct {
    const char* name;
    std::optional<std::string> snapshot;
  } cases[] = {{"no file", std::nullopt},
               {"empty file", ""},
               {"not JSON", "cache"},
               {"cut short", truncated},
               {"an array", "[]"},
               {"a gap of the day of the wrong type", mistyped},
               {"an inbox item whose title is a number", inboxMistyped},
               {"trailing text", std::string(snapshotJSON) + "x"}};
  for (const auto& testCase : cases) {
    std::filesystem::remove_all(shared_);
    std::filesystem::create_directories(shared_);
    if (testCase.snapshot) {
      writeShared("cache-snapshot.json", *testCase.snapshot);
    }
    EXPECT_TRUE(GapWidgetModel::timeline(at(8), environment()).empty()) << testCase.name;
    const auto model = GapWidgetModel::load(at(8), environment());
    EXPECT_EQ(model, GapWidgetModel{.asOf = at(8)}) << testCase.name;
  }
  const GapWidgetEnvironment nowhere{std::nullopt, PosixFileSystem::shared(), preferences_};
  EXPECT_TRUE(GapWidgetModel::timeline(at(8), nowhere).empty());
}

TEST_F(GapWidgetModelTest, WhiteSpaceAndKeyOrderDoNotChangeWhatIsRead) {
  // The same snapshot pretty-printed, and with the maps in reverse order.
  const auto document = parseJSON(snapshotJSON);
  rapidjson::StringBuffer pretty;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(pretty);
  document.Accept(writer);
  rapidjson::Document reversed(rapidjson::kObjectType);
  for (auto member = document.MemberEnd(); member != document.MemberBegin();) {
    --member;
    reversed.AddMember(rapidjson::Value(member->name, reversed.GetAllocator()),
                       rapidjson::Value(member->value, reversed.GetAllocator()), reversed.GetAllocator());
  }
  rapidjson::StringBuffer backwards;
  rapidjson::Writer<rapidjson::StringBuffer> compact(backwards);
  reversed.Accept(compact);

  writeShared("cache-snapshot.json", snapshotJSON);
  const auto expected = GapWidgetModel::timeline(at(8), environment());
  for (const std::string& text : {std::string(pretty.GetString()), std::string(backwards.GetString())}) {
    writeShared("cache-snapshot.json", text);
    EXPECT_EQ(GapWidgetModel::timeline(at(8), environment()), expected) << text.substr(0, 80);
  }
}

TEST_F(GapWidgetModelTest, TheTaskQueryFindsTasksByNameAndSuggestsWhatIsLeftToday) {
  const auto entityNames = [](const std::vector<TaskEntity>& entities) {
    std::vector<std::string> names;
    for (const auto& entity : entities) {
      names.push_back(entity.id + " " + entity.title);
    }
    return names;
  };
  FixedClock clock(at(8));
  const TaskEntityQuery query(environment(), clock);
  const std::vector<std::string> asked{"t-cook", "t-nope", "t-spade"};
  EXPECT_TRUE(query.entities(asked).empty()) << "no snapshot yet";

  writeShared("cache-snapshot.json", snapshotJSON);
  EXPECT_EQ(entityNames(query.entities(asked)),
            (std::vector<std::string>{"t-cook Cook", "t-spade Find the \"spade\""}));
  // Open tasks of the gaps to come that a toggle can reach: not the shared project's review.
  EXPECT_EQ(entityNames(query.suggestedEntities()),
            (std::vector<std::string>{"t-deploy Deploy", "t-dig Dig", "t-cook Cook"}));
  clock.set(at(14));
  EXPECT_EQ(entityNames(query.suggestedEntities()), std::vector<std::string>{"t-cook Cook"});
}

TEST_F(GapWidgetModelTest, ThePlaceholderAndTheDeepLink) {
  const auto placeholder = GapWidgetModel::placeholder(at(8));
  EXPECT_EQ(placeholder.state, GapWidgetModel::State::currentGap);
  EXPECT_TRUE(placeholder.tasks.empty());
  EXPECT_TRUE(placeholder.upcomingGaps.empty());
  EXPECT_EQ(placeholder.deepLinkURL(), std::nullopt);
  // expectedTimeline holds a plain name's link; reserved characters in a name are escaped.
  EXPECT_EQ(GapWidgetModel{.gapRecordName = "g-a b&c#d"}.deepLinkURL(),
            "vantrel://today?gap=g-a%20b%26c%23d");
}

} // namespace
} // namespace vantrel
