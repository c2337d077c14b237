#include "Tools/vantrel/WidgetCommand.hpp"

#include "Linux/CommandWidgetCenter.hpp"
#include "Linux/FileChangeWaiter.hpp"
#include "Linux/FileNotificationCenter.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "Linux/PosixFileSystem.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/InstantArgument.hpp"
#include "Tools/vantrel/ReminderSchedule.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "Tools/vantrel/WaybarLine.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"
#include "VantrelCore/Widget/GapTimelineProvider.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"
#include "VantrelCore/Widget/MarkTaskDoneIntent.hpp"
#include "VantrelCore/Widget/TaskEntityQuery.hpp"

#include <memory>
#include <stdexcept>

namespace vantrel::cli {
namespace {

/// What the widget opens: the folder shared with the planner and the shared preferences.
struct WidgetFiles {
  explicit WidgetFiles(const CommandEnvironment& environment)
      : preferences(JSONFilePreferences::shared(environment.paths())),
        widget{environment.paths().sharedDirectory(), environment.fileSystem(), *preferences} {}

  std::unique_ptr<JSONFilePreferences> preferences;
  GapWidgetEnvironment widget;
};

struct WidgetOptions {
  std::optional<std::string> at;
  std::optional<std::string> reloadCommand;
  bool placeholder = false;
  bool snapshot = false;
  bool waybar = false;
  bool follow = false;
};

void printEntry(Output& output, const GapEntry& entry, bool waybar, int badge) {
  if (waybar) {
    output.text() << waybarLine(entry.model, badge) << "\n";
    return;
  }
  JSONWriter json;
  entry.writeJSON(json);
  output.print(json);
}

/// Prints the line of now, then sleeps until the next instant of the timeline (the next midnight when
/// there is none) or a change of the shared files, and prints again when the line changed.
[[noreturn]] void follow(const WidgetFiles& files, const Clock& clock,
                         const CommandEnvironment& environment) {
  auto& output = environment.output();
  auto& fileSystem = files.widget.fileSystem;
  fileSystem.createDirectories(*files.widget.sharedDirectory);
  FileChangeWaiter waiter(*files.widget.sharedDirectory,
                          {"cache-snapshot.json", std::string(IntentActionQueue::fileName),
                           FileNotificationCenter::defaultFile(environment.paths()).filename().string()});
  std::string printed;
  for (;;) {
    const auto now = clock.now();
    const auto models = GapWidgetModel::timeline(now, files.widget);
    const auto line = waybarLine(models.empty() ? GapWidgetModel::load(now, files.widget) : models.front(),
                                 unseenReminders(environment));
    if (line != printed) {
      output.text() << line << std::endl;
      printed = line;
    }
    const auto midnight = CalendarDate::localDayOf(now).adding(1).localTime(0);
    waiter.waitUntil(models.size() > 1 ? models[1].asOf : midnight.value_or(now.adding(3600)));
  }
}

void runWidget(const GlobalOptions& options, const WidgetOptions& widget) {
  const auto environment = CommandEnvironment::make(options);
  WidgetFiles files(environment);
  if (widget.reloadCommand && widget.reloadCommand->empty()) {
    files.preferences->removeValue(CommandWidgetCenter::reloadCommandKey);
    return;
  }
  if (widget.reloadCommand) {
    files.preferences->setValue(CommandWidgetCenter::reloadCommandKey, *widget.reloadCommand);
    return;
  }
  std::unique_ptr<Clock> atClock;
  if (widget.at) {
    atClock = std::make_unique<FixedClock>(parseInstantArgument(*widget.at, "--at"));
  }
  const Clock& clock = atClock ? *atClock : environment.clock();
  if (widget.follow) {
    if (options.now || widget.at) {
      throw std::invalid_argument("--follow follows the real clock; leave out --now and --at");
    }
    follow(files, clock, environment);
  }
  const GapTimelineProvider provider(files.widget, clock);
  // The size only decides how much of the model a view lays out; the model is the same for all three.
  constexpr auto size = GapWidgetSize::medium;
  if (widget.placeholder) {
    printEntry(environment.output(), provider.placeholder(size), widget.waybar, unseenReminders(environment));
  } else if (widget.snapshot || widget.waybar) {
    provider.getSnapshot(size, [&](const GapEntry& entry) {
      printEntry(environment.output(), entry, widget.waybar, unseenReminders(environment));
    });
  } else {
    provider.getTimeline(size, [&](const GapTimeline& timeline) {
      JSONWriter json;
      json.startArray();
      for (const auto& entry : timeline.entries) {
        entry.writeJSON(json);
      }
      json.endArray();
      environment.output().print(json);
    });
  }
}

void runMarkDone(const GlobalOptions& options, const std::string& task, bool done) {
  const auto environment = CommandEnvironment::make(options);
  WidgetFiles files(environment);
  const TaskEntityQuery query(files.widget, environment.clock());
  const auto found = query.entities(std::span(&task, 1));
  if (found.empty()) {
    throw std::invalid_argument("no task '" + task + "' in the planner's snapshot; see vantrel task list");
  }
  RandomUUIDGenerator uuids;
  IntentActionQueue queue(files.widget.sharedDirectory, files.widget.fileSystem, environment.clock(), uuids);
  CommandWidgetCenter widgets(files.preferences->string(CommandWidgetCenter::reloadCommandKey));
  const MarkTaskDoneIntent intent{.task = found.front(), .done = done};
  const std::string change = "\"" + intent.task.title + "\" " + (done ? "done" : "not done");
  if (const auto failure = intent.perform(queue, widgets)) {
    throw std::runtime_error("could not record " + change + ": " + *failure);
  }
  auto& output = environment.output();
  if (output.json()) {
    JSONWriter json;
    json.startObject();
    json.key("task");
    json.string(intent.task.id);
    json.key("title");
    json.string(intent.task.title);
    json.key("done");
    json.boolean(done);
    json.key("pending");
    json.int64(static_cast<std::int64_t>(queue.pending().size()));
    json.endObject();
    return output.print(json);
  }
  output.changed("Marked " + change + "; the planner applies it on its next run");
}

} // namespace

void configureWidgetCommand(CLI::App& command, const GlobalOptions& options) {
  auto widget = std::make_shared<WidgetOptions>();
  command.add_option("--at", widget->at, "Build the timeline of this instant instead of now")
      ->option_text("TIME");
  auto* placeholder = command.add_flag("--placeholder", widget->placeholder, "Print the placeholder entry");
  auto* snapshot = command.add_flag("--snapshot", widget->snapshot, "Print the entry of now only");
  placeholder->excludes(snapshot);
  auto* waybar = command.add_flag("--waybar", widget->waybar,
                                  "Print the entry as a status-bar line: JSON with text, tooltip and class");
  command
      .add_flag("--follow", widget->follow,
                "With --waybar: keep running, printing a new line whenever the widget changes")
      ->needs(waybar)
      ->excludes(placeholder)
      ->excludes(snapshot);
  command
      .add_option("--set-reload-command", widget->reloadCommand,
                  "Keep CMD as the shell command that tells your status bar to refresh after a change "
                  "(\"\" removes it)")
      ->option_text("CMD");
  command.callback([&options, widget] { runWidget(options, *widget); });
}

void addWidgetCommands(CLI::App& app, const GlobalOptions& options) {
  auto* widget = app.add_subcommand(
      "widget", "Print the widget's timeline, an entry, or a status-bar line (--waybar [--follow])");
  configureWidgetCommand(*widget, options);

  auto task = std::make_shared<std::string>();
  auto notDone = std::make_shared<bool>(false);
  auto* markDone = app.add_subcommand(
      "mark-done",
      "Mark a task done the way the widget does: queued, shown at once, applied by the next run");
  argument(*markDone, "task", *task, "The task's record name, as the widget shows it");
  markDone->add_flag("--not-done", *notDone, "Mark it not done");
  markDone->callback([&options, task, notDone] { runMarkDone(options, *task, !*notDone); });
}

} // namespace vantrel::cli
