#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/PlannerQueries.hpp"
#include "VantrelCore/Widget/GapWidgetData.hpp"
#include "tests/Support/FilledRecords.hpp"
#include "tests/Support/HostileInputs.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <string>
#include <tuple>

namespace vantrel {
namespace {

const CalendarDate day{2026, 3, 7};

/// A random snapshot around the day: two users, gaps on three days at three times, tasks of areas and of
/// held and unheld projects, subtasks, schedules on and off the day, and titles and names that need
/// escapes in JSON.
CloudKitCacheSnapshot randomSnapshot(std::mt19937& random) {
  const auto pick = [&](const auto& choices) { return choices[random() % choices.size()]; };
  const std::vector<std::string> users{"u-me", "u-you"};
  const std::vector<std::string> times{"09:00", "13:00", "9:30", "17:45"};
  const std::vector<std::string> days{"2026-03-06", "2026-03-07", "2026-03-08"};
  const std::vector<std::string> homes{"home", "work", "p-held", "p-\"quoted\"", "p-unheld"};
  const std::vector<std::string> titles{"Plain", "With \"quotes\"", "Back\\slash", "Ünïcödé ✓",
                                        "Tab\tand\nline"};
  CloudKitCacheSnapshot snapshot;
  snapshot.currentUserRef = "u-me";
  snapshot.areas["home"] = {"home", "Home", "green", "house", 2000, false};
  snapshot.areas["work"] = {"work", "Work", "blue", "case", 1000, false};
  for (const std::string project : {"p-held", "p-\"quoted\""}) {
    snapshot.projects[project] = {.recordName = project, .name = project};
  }
  int placementIndex = 0;
  for (const std::string project : {"p-held", "p-\"quoted\"", "p-unheld", "p-held"}) {
    const auto name = "up-" + std::to_string(++placementIndex);
    snapshot.userProjectPlacements[name] = {name,
                                            pick(users),
                                            project,
                                            pick(std::vector<std::string>{"home", "work"}),
                                            std::int64_t(random() % 5) * 1000,
                                            false};
  }
  for (int index = 0; index < 12; ++index) {
    const auto name = "g-" + std::to_string(index);
    snapshot.gaps[name] = {.recordName = name,
                           .dayRef = pick(days),
                           .time = pick(times),
                           .sortIndex = std::int64_t(random() % 3)};
  }
  std::vector<std::string> topLevel;
  for (int index = 0; index < 80; ++index) {
    const auto name = "t-" + std::to_string(index) + (index % 13 == 0 ? "\\x" : "");
    TaskRecord task{.recordName = name,
                    .homeRef = pick(homes),
                    .title = pick(titles),
                    .done = random() % 2 == 0,
                    .sortIndex = std::int64_t(random() % 10) * 1000};
    if (!topLevel.empty() && random() % 3 == 0) {
      task.parentTaskRef = pick(topLevel);
    } else {
      topLevel.push_back(name);
    }
    snapshot.tasks[name] = task;
    if (random() % 4 != 0) {
      const auto schedule = "ut-" + std::to_string(index);
      UserTaskScheduleRecord record{.recordName = schedule, .userRef = pick(users), .taskRef = name};
      const auto planned = CalendarDate::decode(pick(days));
      record.date = random() % 5 == 0 ? std::optional<Date>() : planned.noonUTC();
      record.gapTime = random() % 5 == 0 ? std::optional<std::string>() : pick(times);
      snapshot.userTaskSchedules[schedule] = record;
    }
  }
  return snapshot;
}

// The lean reader must find exactly the records the planner's cache gives the day's plan.
TEST(GapWidgetData, ReadsTheRecordsTheCacheGivesTheDayPlan) {
  int plansWithTasks = 0;
  for (const auto* zone : {"Europe/Berlin", "Pacific/Kiritimati", "America/Los_Angeles"}) {
    testing::ScopedDeviceSettings settings(zone);
    std::mt19937 random(20261123);
    for (int round = 0; round < 60; ++round) {
      const auto snapshot = randomSnapshot(random);
      const auto text = snapshot.encodeJSON();
      CloudKitCache cache;
      cache.replaceAll(CloudKitCacheSnapshot::decodeJSON(text));
      const auto lean = GapWidgetData::read(text, day);
      const auto expected = PlannerQueries::dayRecords(cache, day);
      plansWithTasks += expected.gaps.empty() || expected.tasks.empty() ? 0 : 1;
      EXPECT_EQ(lean.records, expected) << zone << " round " << round;
      for (const auto& [name, task] : expected.tasks) {
        EXPECT_EQ(lean.heldProjects.contains(task.homeRef), cache.projects().contains(task.homeRef));
      }
    }
  }
  EXPECT_GT(plansWithTasks, 150) << "the random snapshots must plan tasks into gaps of the day";
}

bool fullDecodeRefuses(const std::string& text) {
  try {
    CloudKitCacheSnapshot::decodeJSON(text);
    return false;
  } catch (const DecodingError&) {
    return true;
  }
}

std::optional<std::string> leanRefusal(const std::string& text) {
  try {
    GapWidgetData::read(text, day);
    return std::nullopt;
  } catch (const DecodingError& error) {
    return error.what();
  }
}

// A snapshot the planner cannot decode is no data for the widget either, wherever the fault lies: in a
// record the widget takes nothing from too.
TEST(GapWidgetData, RefusesWhatTheFullDecodeRefusesAndNamesWhere) {
  testing::ScopedDeviceSettings settings("Europe/Berlin");
  const std::string task = R"("recordName":"t-1","homeRef":"home","title":"a","done":false,"sortIndex":1)";
  const struct {
    std::string text;
    std::string error;
  } cases[] = {
      {R"({"gaps":{"g-1":{"recordName":"g-1","dayRef":"2026-03-07","time":9}}})", "gaps/g-1"},
      {R"({"tasks":{"t-1":{"recordName":"t-1"})", "unexpected end"},
      {R"({"tasks":{"t-1":{"title":"a]}}})", "unterminated string"},
      {R"({"tasks":{"t-1":{"title":"a"]}})", "mismatched bracket"},
      {R"({"currentUserRef":5})", "expected '\"'"},
      {R"({"areas":[]})", "areas"},
      {R"({"x":tru})", "unexpected character"},
      {R"({"x":01})", "bad number"},
      {R"({"x":"\q"})", "bad escape"},
      {R"({"x":1} {})", "after the document"},
      // Records of the day the widget leaves alone are checked all the same.
      {R"({"inbox":{"i-1":{"recordName":"i-1","title":5,"capturedAt":1,"sortIndex":0}}})",
       "inbox/i-1/title: InboxItemRecord key 'title': expected string, got integer"},
      {R"({"days":{"2026-03-07":{"recordName":"2026-03-07","date":"noon"}}})", "days/2026-03-07/date"},
      {R"({"days":{"2026-03-07":{"recordName":"2026-03-08","date":1}}})",
       "record '2026-03-08' is filed under '2026-03-07'"},
      {R"({"sharingUserNames":{"sun-1":[]}})", "SharingUserNameRecord must be a JSON object, got array"},
      {R"({"projectSections":{"h-1":{"recordName":"h-1","projectRef":"p-1","title":"a"}}})",
       "missing required key 'sortIndex'"},
      {R"({"areaSections":{"h-1":{"recordName":"h-1","recordName":"h-1"}}})", "more than once"},
      {R"({"tasks":{"t-1":{)" + task + R"(,"sortIndex":2}}})", "tasks/t-1/sortIndex"},
      {R"({"tasks":{"t-1":{)" + task + R"(,"note":{"a" 1}}}})", "expected ':'"},
      {R"({"tasks":{"t-1":{)" + task + R"(,"dueDate":1e400}}})", "number too big"},
      {R"({"t\u0061sks":{"t-1":[]}})", "tasks/t-1"},
      {R"({"userProjectSectionStates":null})", "userProjectSectionStates: expected object, got null"},
      {R"({"snapshotVersion":"1"})", "snapshotVersion"},
      {R"({"localCommit":1.5})", "localCommit: expected integer, got number"},
      {R"({"schemaVersion":{}})", "schemaVersion/version"},
      {R"({"later":[1 2]})", "expected ','"},
      {R"({"later":1e309})", "number too big"},
      {R"([])", "expected object, got array"},
  };
  for (const auto& testCase : cases) {
    EXPECT_TRUE(fullDecodeRefuses(testCase.text)) << testCase.text;
    const auto refusal = leanRefusal(testCase.text);
    ASSERT_TRUE(refusal) << testCase.text << " was read";
    EXPECT_NE(refusal->find(testCase.error), std::string::npos) << testCase.text << ": " << *refusal;
  }
  // What the full decode takes, the widget takes too: unknown keys and fields, nulls where a field is
  // optional, escapes in keys and names, exponents in instants.
  for (const std::string& text : std::vector<std::string>{
           R"({"later":{"a":[1,{"b":null}]},"snapshotVersion":2,"localCommit":-0})",
           R"({"tasks":{"t-1":{)" + task + R"(,"parentTaskRef":null,"dueDate":8E8,"note":[]}}})",
           R"({"t\u0061sks":{"t-\u0031":{)" + task + R"(}},"gaps":{}})",
           R"({"days":{"d":{"recordName":"d","date":1e-400}},"extra":1.0000e309})",
       }) {
    EXPECT_FALSE(fullDecodeRefuses(text)) << text;
    EXPECT_EQ(leanRefusal(text), std::nullopt) << text;
  }
}

/// `value` written as compact JSON.
std::string jsonText(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return buffer.GetString();
}

// Every field of every record type damaged in turn: the two readers agree on each, and a value of the
// wrong kind or a key given twice is refused by both.
TEST(GapWidgetData, AgreesWithTheFullDecodeOnEveryDamagedField) {
  testing::ScopedDeviceSettings settings("Europe/Berlin");
  CloudKitCacheSnapshot every;
  std::apply(
      [&](const auto&... map) {
        (..., [&](auto& records) {
          using Record = typename std::decay_t<decltype(records)>::mapped_type;
          auto record = testing::filledRecord<Record>();
          records.emplace(record.recordName, record);
        }(every.*map.second));
      },
      CloudKitCacheSnapshot::maps());
  every.schemaVersion = testing::filledRecord<SchemaVersionRecord>();
  const auto valid = parseJSON(every.encodeJSON());
  ASSERT_EQ(leanRefusal(jsonText(valid)), std::nullopt);

  std::size_t damaged = 0;
  for (const auto& place : valid.GetObject()) {
    if (!place.value.IsObject()) {
      continue;
    }
    const bool isMap = place.name != "schemaVersion";
    const auto& record = isMap ? place.value.MemberBegin()->value : place.value;
    for (const auto& field : record.GetObject()) {
      const std::string where = std::string(place.name.GetString()) + " " + field.name.GetString();
      for (const std::string damage : {"wrong kind", "null", "missing", "twice"}) {
        rapidjson::Document copy;
        copy.CopyFrom(valid, copy.GetAllocator());
        auto& target = isMap ? copy[place.name].MemberBegin()->value : copy[place.name];
        auto& value = target[field.name];
        auto& allocator = copy.GetAllocator();
        if (damage == "wrong kind") {
          value.IsString()  ? value.SetInt(7)
          : value.IsInt64() ? value.SetDouble(1.5)
          : value.IsBool()  ? value.SetString("yes", allocator)
                            : value.SetString("noon", allocator);
        } else if (damage == "null") {
          value.SetNull();
        } else if (damage == "missing") {
          target.RemoveMember(field.name);
        } else {
          rapidjson::Value again(value, allocator);
          target.AddMember(rapidjson::Value(field.name, allocator), again, allocator);
        }
        const auto text = jsonText(copy);
        const bool full = fullDecodeRefuses(text);
        EXPECT_EQ(leanRefusal(text).has_value(), full) << where << ", " << damage;
        if (damage == "wrong kind" || damage == "twice") {
          EXPECT_TRUE(full) << where << ", " << damage;
        }
        ++damaged;
      }
    }
  }
  EXPECT_GE(damaged, 4u * 60) << "every record type's fields were damaged";
}

// Files a crash, a bad disk or another program could leave: the widget refuses exactly the ones the
// planner refuses.
TEST(GapWidgetData, AgreesWithTheFullDecodeOnHostileFiles) {
  testing::ScopedDeviceSettings settings("Europe/Berlin");
  std::mt19937 random(20261125);
  const auto valid = randomSnapshot(random).encodeJSON();
  std::size_t refused = 0;
  for (const auto& variant : testing::hostileVariants(valid, 20261125, 400)) {
    const bool full = fullDecodeRefuses(variant);
    EXPECT_EQ(leanRefusal(variant).has_value(), full) << ::testing::PrintToString(variant.substr(0, 200));
    refused += full ? 1 : 0;
  }
  EXPECT_GE(refused, 12u);
}

} // namespace
} // namespace vantrel
