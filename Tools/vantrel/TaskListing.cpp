#include "Tools/vantrel/TaskListing.hpp"

#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"

namespace vantrel::cli {
namespace {

std::string headingTitle(const CloudKitCache& cache, const TaskOutline::Row& row) {
  switch (row.kind) {
  case TaskOutline::Row::Kind::area:
    return row.recordName.empty() ? "Not in an area" : cache.areas().at(row.recordName).name;
  case TaskOutline::Row::Kind::project:
    return cache.projects().at(row.recordName).name;
  case TaskOutline::Row::Kind::header: {
    const auto found = cache.projectSections().find(row.recordName);
    return found != cache.projectSections().end() ? found->second.title
                                                  : cache.areaSections().at(row.recordName).title;
  }
  case TaskOutline::Row::Kind::task:
    break;
  }
  return cache.tasks().at(row.recordName).title;
}

std::string plannedText(const CloudKitCache& cache, const std::string& task, const CalendarDate& today) {
  const auto schedule = cache.myTaskSchedules().find(task);
  if (schedule == cache.myTaskSchedules().end() || !schedule->second.date) {
    return "";
  }
  const auto day = LocalFormat::shortDay(CalendarDate::localDayOf(*schedule->second.date), today);
  return schedule->second.gapTime ? day + " " + LocalFormat::timeOfDay(*schedule->second.gapTime) : day;
}

} // namespace

TextTable::Cell dueCell(const std::optional<Date>& due, bool done, Date now, const CalendarDate& today) {
  if (!due) {
    return {};
  }
  return {"due " + LocalFormat::shortDay(CalendarDate::localDayOf(*due), today),
          !done && *due < now ? TextTone::overdue : TextTone::plain};
}

void printOutline(PlannerRun& run, const TaskOutline& outline) {
  const auto& cache = run.cache();
  if (run.output.json()) {
    const RecordReport report(cache);
    JSONWriter json;
    json.startArray();
    for (const auto& row : outline.rows) {
      if (row.kind == TaskOutline::Row::Kind::task) {
        report.task(json, cache.tasks().at(row.recordName));
      }
    }
    json.endArray();
    return run.output.print(json);
  }
  const auto now = run.environment.clock().now();
  TextTable table;
  for (const auto& row : outline.rows) {
    const std::string indent(std::size_t(row.depth) * 2, ' ');
    if (row.kind != TaskOutline::Row::Kind::task) {
      table.row().cell(indent + headingTitle(cache, row), TextTone::heading);
      continue;
    }
    const auto& task = cache.tasks().at(row.recordName);
    table.row().cell(indent + (task.done ? "[x] " : "[ ] ") + task.title,
                     task.done || !row.matched ? TextTone::dim : TextTone::plain);
    const auto due = dueCell(task.dueDate, task.done, now, run.today);
    table.cell(due.text, due.tone)
        .cell(plannedText(cache, task.recordName, run.today))
        .cell(task.recordName, TextTone::dim);
  }
  if (table.empty()) {
    run.output.text() << "No tasks.\n";
  }
  run.output.print(table);
}

} // namespace vantrel::cli
