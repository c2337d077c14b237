#include "VantrelCore/Widget/GapWidgetData.hpp"

#include "VantrelCore/JSON/JSONScanner.hpp"
#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Model/AreaSectionRecord.hpp"
#include "VantrelCore/Model/DayRecord.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Model/InboxItemRecord.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/SchemaVersionRecord.hpp"
#include "VantrelCore/Model/SharingUserNameRecord.hpp"
#include "VantrelCore/Model/UserProjectSectionStateRecord.hpp"

#include <array>
#include <charconv>
#include <optional>
#include <vector>

namespace vantrel {
namespace {

/// One record of a map as it stands in the text: the key it is filed under (raw), and its object's text.
struct RecordSpan {
  std::string_view key;
  std::string_view text;
};

template <class Record> using FieldValues = std::array<std::string_view, recordFieldCount<Record>()>;

/// A record must be filed under its own name, as the snapshot's decode requires. Both are compared as
/// written unless one holds an escape.
void checkFiledUnderItsName(std::string_view rawKey, std::string_view nameValue) {
  const auto rawName = nameValue.substr(1, nameValue.size() - 2);
  if (rawName == rawKey) {
    return;
  }
  const auto name = JSONScanner::unescaped(rawName);
  const auto key = JSONScanner::unescaped(rawKey);
  if (name != key) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                        "record '" + name + "' is filed under '" + key + "'");
  }
}

/// Walks one record map, checking every record as the snapshot's decode checks it, and hands each to
/// onRecord(span, values): the raw value of each of its fields by the field's place in Record::fields(),
/// empty where the record has none. Errors name the map and the record.
template <class Record, class OnRecord>
void forEachRecord(JSONScanner& scanner, std::string_view mapKey, OnRecord onRecord) {
  static constexpr auto nameIndex = recordFieldIndex<Record>("recordName");
  FieldValues<Record> values;
  std::optional<std::string_view> recordKey;
  try {
    if (scanner.peekValue() != '{') {
      throw DecodingError(DecodingError::Kind::typeMismatch, "",
                          "expected object, got " + std::string(JSONScanner::kindName(scanner.skipValue())));
    }
    scanner.enterObject();
    std::string_view key;
    while (scanner.nextMember(key)) {
      recordKey = key;
      values.fill({});
      const auto start = scanner.valueStart();
      scanRecord<Record>(scanner, [&](std::size_t index, std::string_view value) { values[index] = value; });
      checkFiledUnderItsName(key, values[nameIndex]);
      onRecord(RecordSpan{key, scanner.textFrom(start)}, values);
      recordKey.reset();
    }
  } catch (const DecodingError& error) {
    throw error.nestedIn(std::string(mapKey) +
                         (recordKey ? "/" + JSONScanner::unescaped(*recordKey) : std::string()));
  }
}

/// Checks a record map the widget takes nothing from.
template <class Record> void checkRecords(JSONScanner& scanner, std::string_view mapKey) {
  forEachRecord<Record>(scanner, mapKey, [](const RecordSpan&, const FieldValues<Record>&) {});
}

template <class Record> Record decodeSpan(std::string_view mapKey, const RecordSpan& span) {
  try {
    return decodeRecord<Record>(parseJSON(span.text));
  } catch (const DecodingError& error) {
    throw error.nestedIn(std::string(mapKey) + "/" + JSONScanner::unescaped(span.key));
  }
}

std::optional<std::string> stringField(std::string_view value) {
  if (value.empty()) {
    return std::nullopt;
  }
  return JSONScanner::stringValue(value);
}

/// Whether a value is the string `expected`; compares in place unless the text has escapes.
bool isString(std::string_view value, std::string_view expected) {
  if (value.size() >= 2 && value.front() == '"' && value.find('\\') == std::string_view::npos) {
    return value.substr(1, value.size() - 2) == expected;
  }
  const auto text = stringField(value);
  return text && *text == expected;
}

std::optional<double> numberField(std::string_view value) {
  double number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (value.empty() || error != std::errc() || end != value.data() + value.size()) {
    return std::nullopt;
  }
  return number;
}

// The fields the widget looks at before it decodes a record, by their place in the record's fields.
constexpr auto gapDayRef = recordFieldIndex<GapRecord>("dayRef");
constexpr auto scheduleDate = recordFieldIndex<UserTaskScheduleRecord>("date");
constexpr auto scheduleUser = recordFieldIndex<UserTaskScheduleRecord>("userRef");
constexpr auto placementProject = recordFieldIndex<UserProjectPlacementRecord>("projectRef");
constexpr auto placementUser = recordFieldIndex<UserProjectPlacementRecord>("userRef");
constexpr auto taskParent = recordFieldIndex<TaskRecord>("parentTaskRef");

/// A top-level value that must be a 64-bit integer.
void checkInteger(JSONScanner& scanner, std::string_view key) {
  const auto value = scanner.skipValue();
  if (!JSONScanner::isInt64(value)) {
    throw DecodingError(DecodingError::Kind::typeMismatch, std::string(key),
                        "expected integer, got " + std::string(JSONScanner::kindName(value)));
  }
}

} // namespace

GapWidgetData GapWidgetData::read(std::string_view snapshotText, const CalendarDate& day) {
  const std::string dayText = day.description();
  // The day plan keeps a schedule whose date falls on the local day of the day's noon UTC; far from UTC
  // that is the day before or after. Its bounds are found once, not per schedule.
  const auto planDay = CalendarDate::localDayOf(day.noonUTC());
  const auto dayStart = planDay.localTime(0, 0);
  const auto nextDayStart = planDay.adding(1).localTime(0, 0);

  // One pass over the file checks every record as the planner's decode does, so that the widget refuses
  // what the planner refuses, and keeps the few records of the day and the place of the task maps, which
  // are checked as they are walked once the schedules tell which tasks matter (a map's position in the
  // file is not fixed).
  struct Kept {
    RecordSpan span;
    std::string_view projectRef{};
    std::string_view userRef{};
  };
  GapWidgetData data;
  auto& records = data.records;
  std::string currentUserRef;
  std::vector<std::string_view> taskMaps;
  std::vector<RecordSpan> gapSpans;
  std::vector<Kept> placements;
  std::vector<Kept> schedules;
  std::unordered_set<std::string> projectKeys;
  JSONScanner scanner(snapshotText);
  if (scanner.peekValue() != '{') {
    throw DecodingError(DecodingError::Kind::typeMismatch, "",
                        "expected object, got " + std::string(JSONScanner::kindName(scanner.skipValue())));
  }
  scanner.enterObject();
  std::string_view rawKey;
  while (scanner.nextMember(rawKey)) {
    const std::string key = JSONScanner::unescaped(rawKey);
    if (key == "snapshotVersion" || key == "localCommit") {
      checkInteger(scanner, key);
    } else if (key == "currentUserRef") {
      currentUserRef = JSONScanner::unescaped(scanner.readString());
    } else if (key == "schemaVersion") {
      DecodingError::within(key, [&] { scanRecord<SchemaVersionRecord>(scanner, [](std::size_t, auto) {}); });
    } else if (key == "areas") {
      forEachRecord<AreaRecord>(scanner, key, [&](const RecordSpan& span, const auto&) {
        auto area = decodeSpan<AreaRecord>(key, span);
        records.areas.emplace(area.recordName, std::move(area));
      });
    } else if (key == "projects") {
      forEachRecord<ProjectRecord>(scanner, key, [&](const RecordSpan& span, const auto&) {
        projectKeys.insert(JSONScanner::unescaped(span.key));
      });
    } else if (key == "tasks") {
      // Only found here, the fast way; the walk below checks its records.
      taskMaps.push_back(scanner.skipBalanced());
    } else if (key == "gaps") {
      forEachRecord<GapRecord>(scanner, key, [&](const RecordSpan& span, const auto& values) {
        if (isString(values[gapDayRef], dayText)) {
          gapSpans.push_back(span);
        }
      });
    } else if (key == "userProjectPlacements") {
      forEachRecord<UserProjectPlacementRecord>(
          scanner, key, [&](const RecordSpan& span, const auto& values) {
            placements.push_back({span, values[placementProject], values[placementUser]});
          });
    } else if (key == "userTaskSchedules") {
      forEachRecord<UserTaskScheduleRecord>(scanner, key, [&](const RecordSpan& span, const auto& values) {
        const auto planned = numberField(values[scheduleDate]);
        if (dayStart && nextDayStart && planned && *planned >= dayStart->secondsSinceReferenceDate &&
            *planned < nextDayStart->secondsSinceReferenceDate) {
          schedules.push_back({span, {}, values[scheduleUser]});
        }
      });
    } else if (key == "projectSections") {
      checkRecords<ProjectSectionRecord>(scanner, key);
    } else if (key == "areaSections") {
      checkRecords<AreaSectionRecord>(scanner, key);
    } else if (key == "days") {
      checkRecords<DayRecord>(scanner, key);
    } else if (key == "inbox") {
      checkRecords<InboxItemRecord>(scanner, key);
    } else if (key == "userProjectSectionStates") {
      checkRecords<UserProjectSectionStateRecord>(scanner, key);
    } else if (key == "sharingUserNames") {
      checkRecords<SharingUserNameRecord>(scanner, key);
    } else {
      scanner.skipValue();
    }
  }
  scanner.finish();

  for (const auto& span : gapSpans) {
    records.gaps.push_back(decodeSpan<GapRecord>("gaps", span));
  }
  records.gaps = GapScheduling::ordered(std::move(records.gaps));
  // The day plan's rule: the user's schedules whose date falls on the day.
  for (const auto& kept : schedules) {
    if (isString(kept.userRef, currentUserRef)) {
      auto schedule = decodeSpan<UserTaskScheduleRecord>("userTaskSchedules", kept.span);
      records.schedules.insert_or_assign(schedule.taskRef, std::move(schedule));
    }
  }

  std::unordered_set<std::string> plannedTasks;
  std::vector<RecordSpan> subtaskSpans;
  for (const auto taskMap : taskMaps) {
    JSONScanner tasks(taskMap);
    forEachRecord<TaskRecord>(tasks, "tasks", [&](const RecordSpan& span, const auto& values) {
      if (const auto parent = stringField(values[taskParent])) {
        if (records.schedules.contains(*parent)) {
          subtaskSpans.push_back(span);
        }
      } else if (records.schedules.contains(JSONScanner::unescaped(span.key))) {
        auto task = decodeSpan<TaskRecord>("tasks", span);
        plannedTasks.insert(task.recordName);
        records.tasks.insert_or_assign(task.recordName, std::move(task));
      }
    });
    tasks.finish();
  }
  std::erase_if(records.schedules, [&](const auto& entry) { return !plannedTasks.contains(entry.first); });
  for (const auto& span : subtaskSpans) {
    auto subtask = decodeSpan<TaskRecord>("tasks", span);
    if (plannedTasks.contains(*subtask.parentTaskRef)) {
      records.tasks.insert_or_assign(subtask.recordName, std::move(subtask));
    }
  }

  std::unordered_set<std::string> projects;
  for (const auto& [name, task] : records.tasks) {
    if (!task.homeIsArea()) {
      projects.insert(task.homeRef);
    }
  }
  for (const auto& project : projects) {
    if (projectKeys.contains(project)) {
      data.heldProjects.insert(project);
    }
  }
  for (const auto& kept : placements) {
    const auto project = stringField(kept.projectRef);
    if (!project || !projects.contains(*project) || !isString(kept.userRef, currentUserRef)) {
      continue;
    }
    auto placement = decodeSpan<UserProjectPlacementRecord>("userProjectPlacements", kept.span);
    const auto [existing, inserted] = records.placements.emplace(*project, placement);
    if (!inserted && placement.recordName < existing->second.recordName) {
      existing->second = std::move(placement);
    }
  }
  return data;
}

} // namespace vantrel
