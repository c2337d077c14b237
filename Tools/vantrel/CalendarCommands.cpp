#include "Tools/vantrel/CalendarCommands.hpp"

#include "Linux/ICalendarEventStore.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "Tools/vantrel/Arguments.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"
#include "Tools/vantrel/ReminderSchedule.hpp"
#include "Tools/vantrel/TaskListing.hpp"
#include "VantrelCore/Planning/CalendarSource.hpp"
#include "VantrelCore/Planning/DayPlan.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/PlannerQueries.hpp"

#include <filesystem>
#include <map>
#include <stdexcept>

namespace vantrel::cli {
namespace {

/// The profile's calendars: its preferences, the store over the named folder, and the source over both.
struct Calendars {
  explicit Calendars(const CommandEnvironment& environment)
      : standard(JSONFilePreferences::standard(environment.paths())),
        shared(JSONFilePreferences::shared(environment.paths())), store(folderOf(*standard), loop),
        source(store, *standard), windows(*standard, shared.get()) {}

  static std::optional<std::filesystem::path> folderOf(const Preferences& preferences) {
    const auto folder = preferences.string(calendarFolderKey);
    return folder ? std::optional<std::filesystem::path>(*folder) : std::nullopt;
  }

  ManualExecutor loop;
  std::unique_ptr<JSONFilePreferences> standard;
  std::unique_ptr<JSONFilePreferences> shared;
  ICalendarEventStore store;
  CalendarSource source;
  CalendarGapPreferences windows;
};

void writeColor(JSONWriter& json, const std::optional<RGBColor>& color) {
  if (!color) {
    json.null();
    return;
  }
  json.startArray();
  for (const double channel : {color->r, color->g, color->b}) {
    json.number(channel);
  }
  json.endArray();
}

void listCalendars(Calendars& calendars, Output& output) {
  const auto& blocked = calendars.source.blocklist();
  if (output.json()) {
    JSONWriter json;
    json.startArray();
    for (const auto& calendar : calendars.source.availableCalendars()) {
      json.startObject();
      json.key("id");
      json.string(calendar.id);
      json.key("title");
      json.string(calendar.title);
      json.key("sourceTitle");
      json.string(calendar.sourceTitle);
      json.key("color");
      writeColor(json, calendar.colorRGB);
      json.key("blocked");
      json.boolean(blocked.contains(calendar.id));
      json.endObject();
    }
    json.endArray();
    return output.print(json);
  }
  TextTable table;
  for (const auto& calendar : calendars.source.availableCalendars()) {
    table.row().cell(calendar.title).cell(calendar.sourceTitle, TextTone::dim);
    table.cell(blocked.contains(calendar.id) ? "blocked" : "").cell(calendar.id, TextTone::dim);
  }
  if (table.empty()) {
    output.text() << "No calendars; vantrel calendars use FOLDER reads a folder of them.\n";
  }
  output.print(table);
}

void addCalendarsCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* calendars =
      app.add_subcommand("calendars", "The calendars the planner reads: use, list, block, unblock")
          ->require_subcommand(1);
  auto value = std::make_shared<std::string>();
  auto* use =
      calendars->add_subcommand("use", "Read the calendars of a folder (one sub-folder per calendar) or "
                                       "of one .ics file");
  argument(*use, "folder", *value, "A vdir folder as calendar sync tools keep it, or an .ics file");
  use->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    const auto folder = std::filesystem::absolute(*value);
    if (!std::filesystem::exists(folder)) {
      throw std::invalid_argument("no such calendar folder or file: " + folder.string());
    }
    JSONFilePreferences::standard(environment.paths())->setValue(calendarFolderKey, folder.string());
    Calendars chosen(environment);
    listCalendars(chosen, environment.output());
  });
  calendars->add_subcommand("list", "List the calendars and which are blocked")->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    Calendars chosen(environment);
    listCalendars(chosen, environment.output());
  });
  for (const bool block : {true, false}) {
    auto* change = calendars->add_subcommand(
        block ? "block" : "unblock", block ? "Leave a calendar out of the planner" : "Read a calendar again");
    argument(*change, "calendar", *value, "The calendar: its title or its id");
    change->callback([=] {
      const auto environment = CommandEnvironment::make(context->options);
      Calendars chosen(environment);
      auto blocklist = chosen.source.blocklist();
      std::vector<RecordLookup::Candidate> known;
      for (const auto& calendar : chosen.source.availableCalendars()) {
        known.push_back({calendar.id, calendar.title});
      }
      const auto id =
          block || !blocklist.contains(*value) ? RecordLookup::pick("calendar", known, *value) : *value;
      if (block) {
        blocklist.insert(id);
      } else {
        blocklist.erase(id);
      }
      chosen.source.setBlocklist(std::move(blocklist));
      environment.output().changed(std::string(block ? "Blocked" : "Unblocked") + " calendar " +
                                   inQuotes(id));
    });
  }
}

void writeTasks(JSONWriter& json, const std::vector<TaskRecord>& tasks, const DayPlan& view) {
  json.startArray();
  for (const auto& task : tasks) {
    json.startObject();
    RecordReport::taskKeys(json, task);
    json.key("subtasks");
    writeTasks(json, view.subtasksOf(task.recordName), view);
    json.endObject();
  }
  json.endArray();
}

void writeGap(JSONWriter& json, const DayPlan::Gap& gap, const DayPlan& view, Date now) {
  json.startObject();
  json.key("recordName");
  json.string(gap.record.recordName);
  json.key("time");
  json.string(gap.record.time);
  json.key("label");
  RecordReport::text(json, gap.record.label);
  json.key("reminder");
  json.boolean(gap.record.reminder);
  json.key("start");
  RecordReport::instant(json, gap.start);
  json.key("end");
  RecordReport::instant(json, gap.end ? gap.end->end : std::nullopt);
  json.key("endSource");
  gap.end ? json.string(taskGapEndSourceText(gap.end->source)) : json.null();
  json.key("current");
  json.boolean(gap.isCurrentAt(now));
  json.key("tasks");
  writeTasks(json, gap.tasks, view);
  json.endObject();
}

void printJSON(Output& output, const DayPlan& view, Date now) {
  JSONWriter json;
  json.startObject();
  json.key("day");
  json.string(view.day.description());
  json.key("events");
  json.startArray();
  for (const auto& event : view.events) {
    json.startObject();
    json.key("id");
    json.string(event.id);
    json.key("title");
    json.string(event.title);
    json.key("start");
    RecordReport::instant(json, event.start);
    json.key("end");
    RecordReport::instant(json, event.end);
    json.key("isAllDay");
    json.boolean(event.isAllDay);
    json.key("calendarName");
    json.string(event.calendarName);
    json.endObject();
  }
  json.endArray();
  json.key("openWindows");
  json.startArray();
  for (const auto& window : view.openWindows) {
    json.startObject();
    json.key("id");
    json.string(window.id);
    json.key("start");
    RecordReport::instant(json, window.start);
    json.key("end");
    RecordReport::instant(json, window.end);
    json.key("duration");
    json.number(window.end.secondsSinceReferenceDate - window.start.secondsSinceReferenceDate);
    json.endObject();
  }
  json.endArray();
  json.key("gaps");
  json.startArray();
  for (const auto& gap : view.gaps) {
    writeGap(json, gap, view, now);
  }
  json.endArray();
  json.key("plannedWithoutGap");
  writeTasks(json, view.withoutGap, view);
  json.endObject();
  output.print(json);
}

void addTaskRows(TextTable& table, const std::vector<TaskRecord>& tasks, const DayPlan& view, Date now,
                 const std::string& indent = "    ") {
  for (const auto& task : tasks) {
    table.row().cell(indent + (task.done ? "[x] " : "[ ] ") + task.title,
                     task.done ? TextTone::dim : TextTone::plain);
    const auto due = dueCell(task.dueDate, task.done, now, view.day);
    table.cell(due.text, due.tone).cell(task.recordName, TextTone::dim);
    addTaskRows(table, view.subtasksOf(task.recordName), view, now, indent + "    ");
  }
}

/// Where a gap ends, in words: "until 10:30 AM, when Standup starts", "open-ended".
std::string endText(const DayPlan::Gap& gap) {
  if (!gap.end || !gap.end->end) {
    return "open-ended, you decide";
  }
  const auto until = "until " + LocalFormat::timeOfDay(*gap.end->end);
  switch (gap.end->source) {
  case TaskGapEndSource::containingEvent:
    return until + ", when the event it is in ends";
  case TaskGapEndSource::beforeDayStart:
  case TaskGapEndSource::afterDayEnd:
  case TaskGapEndSource::nextBoundary:
  case TaskGapEndSource::openEnded:
    break;
  }
  return until;
}

void printText(Output& output, const DayPlan& view, Date now) {
  auto& text = output.text();
  text << output.paint(LocalFormat::longDay(view.day), TextTone::heading) << "\n\n"
       << output.paint("Events", TextTone::heading) << "\n";
  TextTable events;
  for (const auto& event : view.events) {
    events.row().cell(
        "  " + (event.isAllDay ? std::string("all day") : LocalFormat::timeRange(event.start, event.end)));
    events.cell(event.title).cell(event.calendarName, TextTone::dim);
  }
  output.print(events);
  if (events.empty()) {
    text << "  none\n";
  }
  text << "\n" << output.paint("Open time", TextTone::heading) << "\n";
  TextTable open;
  for (const auto& window : view.openWindows) {
    open.row()
        .cell("  " + LocalFormat::timeRange(window.start, window.end))
        .cell(window.durationLabel(), TextTone::dim);
  }
  output.print(open);
  if (open.empty()) {
    text << "  none\n";
  }
  text << "\n" << output.paint("Gaps", TextTone::heading) << "\n";
  TextTable gaps;
  for (const auto& gap : view.gaps) {
    const auto current = gap.isCurrentAt(now);
    const auto tone = current ? TextTone::now : TextTone::heading;
    gaps.row().cell((current ? "▶ " : "  ") + LocalFormat::timeOfDay(gap.record.time) + "  " +
                        gap.record.label.value_or("Gap") + (gap.record.reminder ? " 🔔" : ""),
                    tone);
    gaps.cell(endText(gap), TextTone::dim).cell(gap.record.recordName, TextTone::dim);
    addTaskRows(gaps, gap.tasks, view, now);
  }
  output.print(gaps);
  if (gaps.empty()) {
    text << "  none\n";
  }
  text << "\n" << output.paint("Planned without a gap", TextTone::heading) << "\n";
  TextTable withoutGap;
  addTaskRows(withoutGap, view.withoutGap, view, now, "  ");
  output.print(withoutGap);
  if (withoutGap.empty()) {
    text << "  none\n";
  }
}

void addTodayCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto day = std::make_shared<std::optional<std::string>>();
  auto* today = app.add_subcommand("today", "Show a day as the planner sees it (default: today)");
  optionalArgument(*today, "day", *day, "YYYY-MM-DD, today, tomorrow or yesterday");
  today->callback([=] {
    context->view([=](PlannerRun& run) {
      const auto shown = *day ? parseDay(**day, "DAY", run.today) : run.today;
      Calendars calendars(run.environment);
      const auto now = run.environment.clock().now();
      const auto view = DayPlan::of(shown, PlannerQueries::dayRecords(run.cache(), shown),
                                    calendars.source.events(shown), calendars.windows);
      if (run.output.json()) {
        return printJSON(run.output, view, now);
      }
      printText(run.output, view, now);
      if (shown == run.today) {
        markRemindersSeen(run.environment);
      }
      const auto& cache = run.cache();
      if (cache.areas().empty() && cache.tasks().empty() && cache.gaps().empty()) {
        run.output.text()
            << "\nThe planner is empty. Try it on a believable week: vantrel --profile DIR demo, "
               "with a new folder for DIR.\n";
      }
    });
  });
}

void addAgendaCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto days = std::make_shared<int>(7);
  auto* agenda =
      app.add_subcommand("agenda", "Show the coming days: their gaps and the tasks planned in them");
  agenda->add_option("--days", *days, "How many days, today first (default: 7)")
      ->check(CLI::Range(1, 366))
      ->option_text("N");
  agenda->callback([=] {
    context->view([=](PlannerRun& run) {
      Calendars calendars(run.environment);
      const auto now = run.environment.clock().now();
      std::vector<DayPlan> plans;
      for (int offset = 0; offset < *days; ++offset) {
        const auto day = run.today.adding(offset);
        plans.push_back(DayPlan::of(day, PlannerQueries::dayRecords(run.cache(), day),
                                    calendars.source.events(day), calendars.windows));
      }
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto& plan : plans) {
          json.startObject();
          json.key("day");
          json.string(plan.day.description());
          json.key("events");
          json.int64(std::int64_t(plan.events.size()));
          json.key("gaps");
          json.startArray();
          for (const auto& gap : plan.gaps) {
            writeGap(json, gap, plan, now);
          }
          json.endArray();
          json.key("plannedWithoutGap");
          writeTasks(json, plan.withoutGap, plan);
          json.endObject();
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto& plan : plans) {
        const auto events = plan.events.size();
        table.row().cell(LocalFormat::longDay(plan.day), TextTone::heading);
        table.cell(events == 0 ? "" : std::to_string(events) + (events == 1 ? " event" : " events"),
                   TextTone::dim);
        for (const auto& gap : plan.gaps) {
          table.row().cell("  " + LocalFormat::timeOfDay(gap.record.time) + "  " +
                           gap.record.label.value_or("Gap"));
          addTaskRows(table, gap.tasks, plan, now);
        }
        if (!plan.withoutGap.empty()) {
          table.row().cell("  Without a gap");
          addTaskRows(table, plan.withoutGap, plan, now);
        }
        if (plan.gaps.empty() && plan.withoutGap.empty()) {
          table.row().cell("  nothing planned", TextTone::dim);
        }
      }
      run.output.print(table);
    });
  });
}

} // namespace

void addCalendarCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  addCalendarsCommand(app, context);
  addTodayCommand(app, context);
  addAgendaCommand(app, context);
}

} // namespace vantrel::cli
