#include "Tools/vantrel/CalendarCommands.hpp"

#include "Linux/ICalendarEventStore.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Planning/CalendarGapEngine.hpp"
#include "VantrelCore/Planning/CalendarSource.hpp"
#include "VantrelCore/Planning/GapEndDerivation.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"

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

void listCalendars(Calendars& calendars, const CommandEnvironment& environment) {
  const auto& blocked = calendars.source.blocklist();
  if (environment.json()) {
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
    std::cout << json.text() << "\n";
    return;
  }
  for (const auto& calendar : calendars.source.availableCalendars()) {
    std::cout << terminalText(calendar.id) << "  " << terminalText(calendar.title) << "  ("
              << terminalText(calendar.sourceTitle) << ")"
              << (blocked.contains(calendar.id) ? "  blocked" : "") << "\n";
  }
}

void addCalendarsCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* calendars =
      app.add_subcommand("calendars", "The calendars the planner reads: use, list, block, unblock")
          ->require_subcommand(1);
  auto values = std::make_shared<std::vector<std::string>>();
  auto* use =
      calendars->add_subcommand("use", "Read the calendars of a folder (one sub-folder per calendar) or "
                                       "of one .ics file");
  use->add_option("folder", *values)->required()->expected(1);
  use->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    const auto folder = std::filesystem::absolute(values->at(0));
    if (!std::filesystem::exists(folder)) {
      throw std::invalid_argument("no such calendar folder or file: " + folder.string());
    }
    JSONFilePreferences::standard(environment.paths())->setValue(calendarFolderKey, folder.string());
    Calendars chosen(environment);
    listCalendars(chosen, environment);
  });
  calendars->add_subcommand("list", "List the calendars and which are blocked")->callback([=] {
    const auto environment = CommandEnvironment::make(context->options);
    Calendars chosen(environment);
    listCalendars(chosen, environment);
  });
  for (const bool block : {true, false}) {
    auto* change = calendars->add_subcommand(
        block ? "block" : "unblock", block ? "Leave a calendar out of the planner" : "Read a calendar again");
    change->add_option("calendar", *values)->required()->expected(1);
    change->callback([=] {
      const auto environment = CommandEnvironment::make(context->options);
      Calendars chosen(environment);
      auto blocklist = chosen.source.blocklist();
      if (block) {
        const auto known = chosen.source.availableCalendars();
        if (std::ranges::none_of(known, [&](const auto& calendar) { return calendar.id == values->at(0); })) {
          throw std::invalid_argument("no calendar '" + values->at(0) + "'; see vantrel calendars list");
        }
        blocklist.insert(values->at(0));
      } else {
        blocklist.erase(values->at(0));
      }
      chosen.source.setBlocklist(std::move(blocklist));
    });
  }
}

/// Everything `today` shows, computed once for both forms.
struct DayView {
  CalendarDate day{};
  std::vector<CalendarEvent> events{};
  std::vector<CalendarGap> openWindows{};
  struct Gap {
    GapRecord record{};
    std::optional<Date> start{};
    std::optional<TaskGapEnd> end{};
    std::vector<TaskRecord> tasks{};
  };
  /// The subtasks of the planned tasks, in their order, as the widget shows them under their task.
  std::map<std::string, std::vector<TaskRecord>> subtasks{};
  std::vector<Gap> gaps{};
  std::vector<TaskRecord> withoutGap{};
};

DayView viewOf(const CalendarDate& day, const CloudKitCache& cache, Calendars& calendars) {
  DayView view{.day = day, .events = calendars.source.events(day)};
  std::ranges::sort(view.events, CalendarEvent::dayDisplayOrder);
  view.openWindows = CalendarGapEngine::openWindows(day, view.events, calendars.windows);
  const auto scheduleByTask =
      GapScheduling::scheduleByTask(cache.userTaskSchedules(), cache.currentUserRef());
  const auto planned = GapScheduling::plannedOrder(
      GapScheduling::scheduledTasks(day, cache.tasks(), scheduleByTask), cache.areas(),
      [&](const std::string& project) { return cache.myPlacement(project); });
  const auto gaps = GapScheduling::gaps(day.description(), cache.gaps());
  std::set<std::string> inAGap;
  for (const auto& gap : gaps) {
    auto tasks = GapScheduling::tasksInGap(gap, planned, scheduleByTask);
    for (const auto& task : tasks) {
      inAGap.insert(task.recordName);
    }
    view.gaps.push_back({.record = gap,
                         .start = GapEndDerivation::startDate(gap, day),
                         .end = GapEndDerivation::info(gap, day, gaps, view.events, calendars.windows),
                         .tasks = std::move(tasks)});
  }
  for (const auto& task : planned) {
    if (const auto children = cache.tasksByParent().find(task.recordName);
        children != cache.tasksByParent().end()) {
      auto& list = view.subtasks[task.recordName];
      for (const auto& name : children->second) {
        list.push_back(cache.tasks().at(name));
      }
      std::ranges::sort(list, [](const TaskRecord& left, const TaskRecord& right) {
        return std::tie(left.sortIndex, left.recordName) < std::tie(right.sortIndex, right.recordName);
      });
    }
  }
  // A task whose gap time names no gap of the day is still planned on the day.
  for (const auto& task : planned) {
    if (!inAGap.contains(task.recordName)) {
      view.withoutGap.push_back(task);
    }
  }
  return view;
}

void writeTasks(JSONWriter& json, const std::vector<TaskRecord>& tasks, const DayView& view) {
  json.startArray();
  for (const auto& task : tasks) {
    json.startObject();
    json.key("recordName");
    json.string(task.recordName);
    json.key("title");
    json.string(task.title);
    json.key("done");
    json.boolean(task.done);
    if (const auto subtasks = view.subtasks.find(task.recordName); subtasks != view.subtasks.end()) {
      json.key("subtasks");
      writeTasks(json, subtasks->second, view);
    }
    json.endObject();
  }
  json.endArray();
}

void printJSON(const DayView& view) {
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
    writeJSONValue(json, event.start);
    json.key("end");
    writeJSONValue(json, event.end);
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
    writeJSONValue(json, window.start);
    json.key("end");
    writeJSONValue(json, window.end);
    json.key("durationLabel");
    json.string(window.durationLabel());
    json.endObject();
  }
  json.endArray();
  json.key("gaps");
  json.startArray();
  for (const auto& gap : view.gaps) {
    json.startObject();
    json.key("recordName");
    json.string(gap.record.recordName);
    json.key("time");
    json.string(gap.record.time);
    json.key("label");
    gap.record.label ? json.string(*gap.record.label) : json.null();
    json.key("start");
    gap.start ? writeJSONValue(json, *gap.start) : json.null();
    json.key("end");
    gap.end&& gap.end->end ? writeJSONValue(json, *gap.end->end) : json.null();
    json.key("endSource");
    gap.end ? json.string(taskGapEndSourceText(gap.end->source)) : json.null();
    json.key("tasks");
    writeTasks(json, gap.tasks, view);
    json.endObject();
  }
  json.endArray();
  json.key("plannedWithoutGap");
  writeTasks(json, view.withoutGap, view);
  json.endObject();
  std::cout << json.text() << "\n";
}

void printTasks(const std::vector<TaskRecord>& tasks, const DayView& view,
                const std::string& indent = "    ") {
  for (const auto& task : tasks) {
    std::cout << indent << "[" << (task.done ? "x" : " ") << "] " << terminalText(task.title) << "  ("
              << terminalText(task.recordName) << ")\n";
    if (const auto subtasks = view.subtasks.find(task.recordName); subtasks != view.subtasks.end()) {
      printTasks(subtasks->second, view, indent + "    ");
    }
  }
}

void printText(const DayView& view) {
  std::cout << view.day.formatted("EEEE, MMMM d, y") << "\n\nEvents\n";
  if (view.events.empty()) {
    std::cout << "  none\n";
  }
  for (const auto& event : view.events) {
    std::cout << "  " << (event.isAllDay ? std::string("all day") : TimeFormat::range(event.start, event.end))
              << "  " << terminalText(event.title)
              << (event.calendarName.empty() ? "" : "  (" + terminalText(event.calendarName) + ")") << "\n";
  }
  std::cout << "\nOpen time\n";
  if (view.openWindows.empty()) {
    std::cout << "  none\n";
  }
  for (const auto& window : view.openWindows) {
    std::cout << "  " << TimeFormat::range(window.start, window.end) << "  " << window.durationLabel()
              << "\n";
  }
  std::cout << "\nGaps\n";
  if (view.gaps.empty()) {
    std::cout << "  none\n";
  }
  for (const auto& gap : view.gaps) {
    std::string ends = "Open-ended, you decide";
    if (gap.end && gap.end->end) {
      ends = "until " + TimeFormat::clock(*gap.end->end) + " (" +
             std::string(taskGapEndSourceText(gap.end->source)) + ")";
    }
    std::cout << "  " << terminalText(TimeFormat::clockFromHHmm(gap.record.time)) << "  "
              << terminalText(gap.record.label.value_or("Gap")) << "  " << ends << "  ("
              << terminalText(gap.record.recordName) << ")\n";
    printTasks(gap.tasks, view);
  }
  std::cout << "\nPlanned without a gap\n";
  if (view.withoutGap.empty()) {
    std::cout << "  none\n";
  }
  printTasks(view.withoutGap, view);
}

void addTodayCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto day = std::make_shared<std::optional<std::string>>();
  auto* today = app.add_subcommand("today", "Show a day as the planner sees it (default: today)");
  today->add_option("date", *day, "The day, YYYY-MM-DD");
  today->callback([=] {
    context->run(
        [](CloudKitStore&, const CommandEnvironment&) {},
        [=](CloudKitStore& store, const CommandEnvironment& environment) {
          const auto shown =
              *day ? parseDay(**day) : CalendarDate::today(*DeviceSettings::timeZone(), environment.clock());
          Calendars calendars(environment);
          const auto view = viewOf(shown, store.cache(), calendars);
          environment.json() ? printJSON(view) : printText(view);
          if (!environment.json() && store.cache().areas().empty() && store.cache().tasks().empty()) {
            std::cout << "\nThe planner is empty. Try it on a believable week: vantrel --profile DIR demo, "
                         "with a new folder for DIR.\n";
          }
        });
  });
}

} // namespace

void addCalendarCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  addCalendarsCommand(app, context);
  addTodayCommand(app, context);
}

} // namespace vantrel::cli
