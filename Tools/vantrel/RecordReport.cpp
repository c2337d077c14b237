#include "Tools/vantrel/RecordReport.hpp"

#include "VantrelCore/Model/TimeFormat.hpp"

namespace vantrel::cli {

void RecordReport::instant(JSONWriter& json, const std::optional<Date>& instant) {
  instant ? json.string(TimeFormat::iso8601(*instant)) : json.null();
}

void RecordReport::text(JSONWriter& json, const std::optional<std::string>& text) {
  text ? json.string(*text) : json.null();
}

void RecordReport::reference(JSONWriter& json, const char* key, const std::optional<std::string>& recordName,
                             const std::string& name) const {
  json.key(key);
  text(json, recordName);
  json.key((std::string(key) + "Name").c_str());
  recordName ? json.string(name) : json.null();
}

std::optional<std::string> RecordReport::areaOfProject(const std::string& project) const {
  const auto* placement = cache_.myPlacement(project);
  return placement ? std::optional(placement->areaRef) : std::nullopt;
}

std::string RecordReport::homeName(const TaskRecord& task) const {
  if (const auto project = cache_.projects().find(task.homeRef); project != cache_.projects().end()) {
    return project->second.name;
  }
  if (const auto area = cache_.areas().find(task.homeRef); area != cache_.areas().end()) {
    return area->second.name;
  }
  return task.homeRef;
}

void RecordReport::area(JSONWriter& json, const AreaRecord& area) const {
  json.startObject();
  json.key("recordName");
  json.string(area.recordName);
  json.key("name");
  json.string(area.name);
  json.key("color");
  json.string(area.color);
  json.key("icon");
  json.string(area.icon);
  json.key("hidden");
  json.boolean(area.isHidden);
  json.endObject();
}

void RecordReport::project(JSONWriter& json, const ProjectRecord& project) const {
  json.startObject();
  json.key("recordName");
  json.string(project.recordName);
  json.key("name");
  json.string(project.name);
  const auto area = areaOfProject(project.recordName);
  const auto found = area ? cache_.areas().find(*area) : cache_.areas().end();
  reference(json, "area", area, found == cache_.areas().end() ? std::string() : found->second.name);
  json.key("status");
  json.string(project.status);
  json.key("purpose");
  text(json, project.purpose);
  json.key("due");
  instant(json, project.dueDate);
  json.key("pinned");
  const auto* placement = cache_.myPlacement(project.recordName);
  json.boolean(placement && placement->isPinned);
  json.endObject();
}

void RecordReport::projectHeader(JSONWriter& json, const ProjectSectionRecord& header) const {
  json.startObject();
  json.key("recordName");
  json.string(header.recordName);
  json.key("title");
  json.string(header.title);
  const auto project = cache_.projects().find(header.projectRef);
  reference(json, "project", header.projectRef,
            project == cache_.projects().end() ? std::string() : project->second.name);
  json.key("area");
  json.null();
  json.endObject();
}

void RecordReport::areaHeader(JSONWriter& json, const AreaSectionRecord& header) const {
  json.startObject();
  json.key("recordName");
  json.string(header.recordName);
  json.key("title");
  json.string(header.title);
  json.key("project");
  json.null();
  const auto area = cache_.areas().find(header.areaRef);
  reference(json, "area", header.areaRef, area == cache_.areas().end() ? std::string() : area->second.name);
  json.endObject();
}

void RecordReport::taskKeys(JSONWriter& json, const TaskRecord& task) {
  json.key("recordName");
  json.string(task.recordName);
  json.key("title");
  json.string(task.title);
  json.key("done");
  json.boolean(task.done);
  json.key("due");
  instant(json, task.dueDate);
}

void RecordReport::task(JSONWriter& json, const TaskRecord& task) const {
  json.startObject();
  taskKeys(json, task);
  reference(json, "home", task.homeRef, homeName(task));
  json.key("homeIsArea");
  json.boolean(task.homeIsArea());
  json.key("parent");
  text(json, task.parentTaskRef);
  const auto schedule = cache_.myTaskSchedules().find(task.recordName);
  const bool planned = schedule != cache_.myTaskSchedules().end() && schedule->second.date;
  json.key("day");
  planned ? json.string(CalendarDate::localDayOf(*schedule->second.date).description()) : json.null();
  json.key("gapTime");
  text(json, planned ? schedule->second.gapTime : std::nullopt);
  json.endObject();
}

void RecordReport::gap(JSONWriter& json, const GapRecord& gap) const {
  json.startObject();
  json.key("recordName");
  json.string(gap.recordName);
  json.key("day");
  json.string(gap.dayRef);
  json.key("time");
  json.string(gap.time);
  json.key("label");
  text(json, gap.label);
  json.key("reminder");
  json.boolean(gap.reminder);
  json.endObject();
}

void RecordReport::inboxItem(JSONWriter& json, const InboxItemRecord& item) const {
  json.startObject();
  json.key("recordName");
  json.string(item.recordName);
  json.key("title");
  json.string(item.title);
  json.key("notes");
  text(json, item.notes);
  json.key("captured");
  instant(json, item.capturedAt);
  json.endObject();
}

} // namespace vantrel::cli
