#include "VantrelCore/Widget/GapWidgetData.hpp"

#include "VantrelCore/JSON/JSONScanner.hpp"
#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

#include <charconv>
#include <functional>
#include <optional>
#include <set>

namespace vantrel {
namespace {

/// One record of a map as it stands in the text: its key, and its object's text.
struct RecordSpan {
  std::string_view key;
  std::string_view text;
  /// Whether the object holds no object or array, so that its fields can be found by searching its text.
  bool isFlat = true;
};

/// Finds a key's quoted text in record after record: the searcher's table is made once per key.
struct KeySearch {
  explicit KeySearch(std::string_view key)
      : quoted("\"" + std::string(key) + "\""), searcher(quoted.begin(), quoted.end()) {}
  KeySearch(const KeySearch&) = delete;
  KeySearch& operator=(const KeySearch&) = delete;

  std::string quoted;
  std::boyer_moore_horspool_searcher<std::string::const_iterator> searcher;
};

/// The raw text of the value of a key in the text of a flat object the scanner has skipped; empty when the
/// object has no such key. A match counts only where a key can stand, after '{' or ',' and before ':'.
/// Inside a string every quote is escaped, so a string that merely contains the key's text never matches.
std::string_view flatObjectValue(std::string_view object, const KeySearch& key) {
  const auto isSpace = [](char character) {
    return character == ' ' || character == '\n' || character == '\r' || character == '\t';
  };
  auto from = object.begin();
  for (;;) {
    const auto [found, end] = key.searcher(from, object.end());
    if (found == object.end()) {
      return {};
    }
    auto before = static_cast<std::size_t>(found - object.begin());
    while (before > 0 && isSpace(object[before - 1])) {
      --before;
    }
    auto after = static_cast<std::size_t>(end - object.begin());
    while (after < object.size() && isSpace(object[after])) {
      ++after;
    }
    if (before > 0 && (object[before - 1] == '{' || object[before - 1] == ',') && after < object.size() &&
        object[after] == ':') {
      JSONScanner value(object.substr(after + 1));
      return value.skipValue();
    }
    from = found + 1;
  }
}

/// The raw text of the value of a key in a record, empty when the record has none. A record that nests
/// (which no writer of ours makes) is walked member by member.
std::string_view fieldOf(const RecordSpan& record, const KeySearch& key) {
  if (record.isFlat) {
    return flatObjectValue(record.text, key);
  }
  JSONScanner members(record.text);
  members.enterObject();
  std::string_view field;
  std::string_view found;
  while (members.nextMember(field)) {
    const auto value = members.skipValue();
    found = "\"" + std::string(field) + "\"" == key.quoted ? value : found;
  }
  return found;
}

/// Walks one record map, handing each record to `onRecord`. Records are skipped whole, the fast way; the
/// few fields a reader looks at are found in the skipped text when it asks for them.
template <class OnRecord>
void forEachRecord(JSONScanner& scanner, std::string_view mapKey, OnRecord onRecord) {
  try {
    scanner.enterObject();
    std::string_view key;
    while (scanner.nextMember(key)) {
      const auto text = scanner.skipBalanced();
      onRecord(RecordSpan{key, text, scanner.lastSkipDepth() <= 1});
    }
  } catch (const DecodingError& error) {
    throw error.nestedIn(std::string(mapKey));
  }
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

} // namespace

GapWidgetData GapWidgetData::read(std::string_view snapshotText, const CalendarDate& day) {
  const std::string dayText = day.description();
  // The day plan keeps a schedule whose date falls on the local day of the day's noon UTC; far from UTC
  // that is the day before or after. Its bounds are found once, not per schedule.
  const auto planDay = CalendarDate::localDayOf(day.noonUTC());
  const auto dayStart = planDay.localTime(0, 0);
  const auto nextDayStart = planDay.adding(1).localTime(0, 0);
  const KeySearch dayRefKey("dayRef"), dateKey("date"), gapTimeKey("gapTime"), userRefKey("userRef"),
      projectRefKey("projectRef"), parentTaskRefKey("parentTaskRef");

  // One pass over the file keeps the few records of the day and the place of the task map: which tasks
  // matter is known only from the schedules, and a map's position in the file is not fixed.
  GapWidgetData data;
  std::string_view taskMap;
  std::vector<RecordSpan> gapSpans;
  std::vector<RecordSpan> placementSpans;
  std::vector<RecordSpan> scheduleSpans;
  std::unordered_set<std::string> projectKeys;
  JSONScanner scanner(snapshotText);
  scanner.enterObject();
  std::string_view key;
  while (scanner.nextMember(key)) {
    if (key == "currentUserRef") {
      data.currentUserRef = JSONScanner::unescaped(scanner.readString());
    } else if (key == "areas") {
      forEachRecord(scanner, key, [&](const RecordSpan& span) {
        auto area = decodeSpan<AreaRecord>(key, span);
        data.areas.emplace(area.recordName, std::move(area));
      });
    } else if (key == "projects") {
      forEachRecord(scanner, key,
                    [&](const RecordSpan& span) { projectKeys.insert(JSONScanner::unescaped(span.key)); });
    } else if (key == "tasks") {
      taskMap = scanner.skipBalanced();
    } else if (key == "gaps") {
      forEachRecord(scanner, key, [&](const RecordSpan& span) {
        if (isString(fieldOf(span, dayRefKey), dayText)) {
          gapSpans.push_back(span);
        }
      });
    } else if (key == "userProjectPlacements") {
      forEachRecord(scanner, key, [&](const RecordSpan& span) { placementSpans.push_back(span); });
    } else if (key == "userTaskSchedules") {
      forEachRecord(scanner, key, [&](const RecordSpan& span) {
        const auto date = numberField(fieldOf(span, dateKey));
        if (dayStart && nextDayStart && date && *date >= dayStart->secondsSinceReferenceDate &&
            *date < nextDayStart->secondsSinceReferenceDate) {
          scheduleSpans.push_back(span);
        }
      });
    } else {
      scanner.skipBalanced();
    }
  }
  scanner.finish();

  // Times as GapRecord::sameTime() matches them: by the time of day, or as text when they are none.
  std::set<int> gapMinutes;
  std::set<std::string> unreadableGapTimes;
  for (const auto& span : gapSpans) {
    auto gap = decodeSpan<GapRecord>("gaps", span);
    if (const auto minutes = gap.startMinutes()) {
      gapMinutes.insert(*minutes);
    } else {
      unreadableGapTimes.insert(gap.time);
    }
    data.gaps.push_back(std::move(gap));
  }
  const auto namesAGap = [&](const std::string& gapTime) {
    const auto minutes = GapRecord::minutesOfDay(gapTime);
    return minutes ? gapMinutes.contains(*minutes) : unreadableGapTimes.contains(gapTime);
  };
  // The day plan's rule: the user's schedules whose date falls on the day, here those that name the time
  // of one of its gaps.
  for (const auto& span : scheduleSpans) {
    const auto gapTime = stringField(fieldOf(span, gapTimeKey));
    if (gapTime && namesAGap(*gapTime) && isString(fieldOf(span, userRefKey), data.currentUserRef)) {
      auto schedule = decodeSpan<UserTaskScheduleRecord>("userTaskSchedules", span);
      data.schedules.insert_or_assign(schedule.taskRef, std::move(schedule));
    }
  }

  std::unordered_set<std::string> plannedTasks;
  std::vector<RecordSpan> subtaskSpans;
  if (!taskMap.empty()) {
    JSONScanner tasks(taskMap);
    forEachRecord(tasks, "tasks", [&](const RecordSpan& span) {
      if (const auto parent = stringField(fieldOf(span, parentTaskRefKey))) {
        if (data.schedules.contains(*parent)) {
          subtaskSpans.push_back(span);
        }
      } else if (data.schedules.contains(JSONScanner::unescaped(span.key))) {
        auto task = decodeSpan<TaskRecord>("tasks", span);
        plannedTasks.insert(task.recordName);
        data.tasks.emplace(task.recordName, std::move(task));
      }
    });
  }
  std::erase_if(data.schedules, [&](const auto& entry) { return !plannedTasks.contains(entry.first); });
  for (const auto& span : subtaskSpans) {
    auto subtask = decodeSpan<TaskRecord>("tasks", span);
    // The text search found a parent reference; the record may still decode without one.
    if (subtask.parentTaskRef && plannedTasks.contains(*subtask.parentTaskRef)) {
      data.tasks.emplace(subtask.recordName, std::move(subtask));
    }
  }

  std::unordered_set<std::string> projects;
  for (const auto& [name, task] : data.tasks) {
    if (!task.homeIsArea()) {
      projects.insert(task.homeRef);
    }
  }
  for (const auto& project : projects) {
    if (projectKeys.contains(project)) {
      data.heldProjects.insert(project);
    }
  }
  for (const auto& span : placementSpans) {
    const auto project = stringField(fieldOf(span, projectRefKey));
    if (!project || !projects.contains(*project) ||
        !isString(fieldOf(span, userRefKey), data.currentUserRef)) {
      continue;
    }
    auto placement = decodeSpan<UserProjectPlacementRecord>("userProjectPlacements", span);
    const auto [existing, inserted] = data.placements.emplace(*project, placement);
    if (!inserted && placement.recordName < existing->second.recordName) {
      existing->second = std::move(placement);
    }
  }
  return data;
}

} // namespace vantrel
