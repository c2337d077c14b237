#include "VantrelCore/Widget/GapWidgetModel.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Planning/CalendarGapPreferences.hpp"
#include "VantrelCore/Planning/DayPlan.hpp"
#include "VantrelCore/Widget/GapWidgetData.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"

#include <set>
#include <unordered_map>
#include <unordered_set>

namespace vantrel {
namespace {

constexpr std::string_view deepLinkPrefix = "vantrel://today?gap=";

/// Today as one load of the files shows it; every model of a timeline is built from the same load.
struct WidgetDay {
  /// Made once per load: a clock text costs a locale's formatter.
  struct Labels {
    std::string clock;
    std::string label;
  };

  DayPlan plan;
  std::unordered_set<std::string> heldProjects;
  /// The last queued done state of each toggled task.
  std::unordered_map<std::string, bool> toggles{};
  std::unordered_map<std::string, Labels> labels{};
  std::optional<Date> startOfTomorrow;
};

std::optional<WidgetDay> readDay(Date now, const GapWidgetEnvironment& environment) {
  const auto file = environment.cacheSnapshotURL();
  if (!file) {
    return std::nullopt;
  }
  const auto day = CalendarDate::localDayOf(now);
  GapWidgetData data;
  try {
    const auto snapshot = environment.fileSystem.mapFile(*file);
    if (!snapshot || snapshot->bytes().empty()) {
      return std::nullopt;
    }
    data = GapWidgetData::read(snapshot->bytes(), day);
  } catch (const std::exception&) {
    // The widget has no one to tell; an unreadable snapshot shows as a day without data.
    return std::nullopt;
  }
  // The widget has no calendar of its own: only the day's other gaps and the planning window bound a gap.
  const CalendarGapPreferences windows(environment.sharedPreferences, nullptr);
  WidgetDay result{.plan = DayPlan::of(day, data.records, {}, windows),
                   .heldProjects = std::move(data.heldProjects),
                   .startOfTomorrow = day.adding(1).localTime(0)};
  for (const auto& action : IntentActionQueue::read(environment.fileSystem, *environment.sharedDirectory)) {
    result.toggles[action.taskRecordName] = action.done;
  }
  for (const auto& gap : result.plan.gaps) {
    if (gap.start) {
      auto clock = TimeFormat::clockFromHHmm(GapRecord::normalizedTime(gap.record.time));
      auto label = gap.record.label && !gap.record.label->empty() ? *gap.record.label : clock;
      result.labels.emplace(gap.record.recordName, WidgetDay::Labels{std::move(clock), std::move(label)});
    }
  }
  return result;
}

GapWidgetModel::Task taskOf(const WidgetDay& day, const TaskRecord& task) {
  const auto toggle = day.toggles.find(task.recordName);
  return {.id = task.recordName,
          .title = task.title,
          .done = toggle == day.toggles.end() ? task.done : toggle->second,
          .dueDate = task.dueDate,
          .isSubtask = task.isSubtask(),
          .canToggle = task.homeIsArea() || day.heldProjects.contains(task.homeRef)};
}

GapWidgetModel modelAt(const WidgetDay& day, Date instant) {
  GapWidgetModel model{.asOf = instant};
  const auto* shown = day.plan.currentGap(instant);
  model.isRunning = shown != nullptr;
  if (!shown) {
    shown = day.plan.nextGap(instant);
  }
  if (!shown) {
    return model;
  }
  model.state = model.isRunning ? GapWidgetModel::State::currentGap : GapWidgetModel::State::nextGap;
  model.gapRecordName = shown->record.recordName;
  const auto& labels = day.labels.at(shown->record.recordName);
  model.gapClockLabel = labels.clock;
  model.gapLabel = labels.label;
  for (const auto& task : shown->tasks) {
    model.tasks.push_back(taskOf(day, task));
    ++model.taskCount;
    model.doneCount += model.tasks.back().done ? 1 : 0;
    for (const auto& subtask : day.plan.subtasksOf(task.recordName)) {
      model.tasks.push_back(taskOf(day, subtask));
    }
  }
  for (const auto& gap : day.plan.gaps) {
    if (gap.start && instant < *gap.start && gap.record.recordName != shown->record.recordName) {
      const auto& upcoming = day.labels.at(gap.record.recordName);
      model.upcomingGaps.push_back({upcoming.label, upcoming.clock});
    }
  }
  return model;
}

/// Characters a query value may hold as they are; the rest are percent-encoded so that any record name
/// survives the trip through the link.
bool isQueryValueCharacter(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) ||
         std::string_view("-._~!$'()*,;:@/?").find(character) != std::string_view::npos;
}

} // namespace

std::string_view gapWidgetStateName(GapWidgetModel::State state) {
  switch (state) {
  case GapWidgetModel::State::currentGap:
    return "currentGap";
  case GapWidgetModel::State::nextGap:
    return "nextGap";
  case GapWidgetModel::State::noGaps:
    break;
  }
  return "noGaps";
}

std::optional<std::string> GapWidgetModel::deepLinkURL() const {
  if (!gapRecordName) {
    return std::nullopt;
  }
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string url(deepLinkPrefix);
  for (const char character : *gapRecordName) {
    if (isQueryValueCharacter(character)) {
      url += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      url += '%';
      url += hex[byte >> 4];
      url += hex[byte & 0xF];
    }
  }
  return url;
}

GapWidgetModel GapWidgetModel::load(Date now, const GapWidgetEnvironment& environment) {
  const auto day = readDay(now, environment);
  return day ? modelAt(*day, now) : GapWidgetModel{.asOf = now};
}

std::vector<GapWidgetModel> GapWidgetModel::timeline(Date now, const GapWidgetEnvironment& environment) {
  const auto day = readDay(now, environment);
  if (!day) {
    return {};
  }
  std::set<Date> instants{now};
  const auto addLater = [&](std::optional<Date> instant) {
    if (instant && now < *instant) {
      instants.insert(*instant);
    }
  };
  for (const auto& gap : day->plan.gaps) {
    addLater(gap.start);
    addLater(gap.currentUntil);
  }
  addLater(day->startOfTomorrow);
  std::vector<GapWidgetModel> models;
  for (const auto instant : instants) {
    models.push_back(modelAt(*day, instant));
  }
  return models;
}

GapWidgetModel GapWidgetModel::placeholder(Date asOf) {
  return {.state = State::currentGap,
          .gapClockLabel = TimeFormat::clockFromHHmm("09:00"),
          .gapLabel = "Deep work",
          .isRunning = true,
          .asOf = asOf};
}

void GapWidgetModel::writeJSON(JSONWriter& json) const {
  const auto optionalString = [&](const std::optional<std::string>& value) {
    value ? json.string(*value) : json.null();
  };
  json.startObject();
  json.key("state");
  json.string(gapWidgetStateName(state));
  json.key("gapRecordName");
  optionalString(gapRecordName);
  json.key("gapClockLabel");
  json.string(gapClockLabel);
  json.key("gapLabel");
  json.string(gapLabel);
  json.key("isRunning");
  json.boolean(isRunning);
  json.key("tasks");
  json.startArray();
  for (const auto& task : tasks) {
    json.startObject();
    json.key("id");
    json.string(task.id);
    json.key("title");
    json.string(task.title);
    json.key("done");
    json.boolean(task.done);
    json.key("dueDate");
    task.dueDate ? json.string(TimeFormat::iso8601(*task.dueDate)) : json.null();
    json.key("isSubtask");
    json.boolean(task.isSubtask);
    json.key("canToggle");
    json.boolean(task.canToggle);
    json.endObject();
  }
  json.endArray();
  json.key("taskCount");
  json.int64(taskCount);
  json.key("doneCount");
  json.int64(doneCount);
  json.key("upcomingGaps");
  json.startArray();
  for (const auto& upcoming : upcomingGaps) {
    json.startObject();
    json.key("label");
    json.string(upcoming.label);
    json.key("clockLabel");
    json.string(upcoming.clockLabel);
    json.endObject();
  }
  json.endArray();
  json.key("asOf");
  json.string(TimeFormat::iso8601(asOf));
  json.key("deepLinkURL");
  optionalString(deepLinkURL());
  json.endObject();
}

} // namespace vantrel
