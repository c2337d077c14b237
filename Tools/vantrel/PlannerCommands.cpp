#include "Tools/vantrel/PlannerCommands.hpp"

#include "Tools/vantrel/InstantArgument.hpp"
#include "Tools/vantrel/StoreSession.hpp"
#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace vantrel::cli {
namespace {

/// What the planner commands share: the global options, and `--offline`.
struct Context {
  const GlobalOptions& options;
  bool offline = false;

  /// Runs `change` on a started store, then sends and saves. Store refusals become the user's message.
  void run(const std::function<void(CloudKitStore&, const CommandEnvironment&)>& change) const {
    const auto environment = CommandEnvironment::make(options);
    StoreSession session(environment);
    try {
      change(session.store(), environment);
    } catch (const CloudKitStoreError& error) {
      if (error.kind() == CloudKitStoreError::Kind::areaNotEmpty) {
        throw std::runtime_error("Move or delete the projects and tasks inside this area first.");
      }
      throw;
    }
    session.finish(offline);
  }
};

/// Prints a new record's name, or with --json the name and the record.
template <class Record>
void printAdded(const CommandEnvironment& environment, const RecordMap<Record>& records,
                const std::string& name) {
  if (!environment.json()) {
    std::cout << name << "\n";
    return;
  }
  JSONWriter json;
  json.startObject();
  json.key("recordName");
  json.string(name);
  json.key("record");
  encodeRecord(json, records.at(name));
  json.endObject();
  std::cout << json.text() << "\n";
}

CalendarDate parseDay(const std::string& text) {
  if (const auto day = CalendarDate::parse(text)) {
    return *day;
  }
  throw std::invalid_argument("invalid day '" + text + "': expected YYYY-MM-DD");
}

/// A due date: "none", a day (its noon in the device zone), or an instant.
std::optional<Date> parseDue(const std::string& text) {
  if (text == "none") {
    return std::nullopt;
  }
  if (text.find('T') == std::string::npos && text.find(' ') == std::string::npos) {
    return parseDay(text).localNoon();
  }
  return parseInstantArgument(text);
}

template <class Record> std::vector<const Record*> sorted(const RecordMap<Record>& records) {
  std::vector<const Record*> list;
  for (const auto& [name, record] : records) {
    list.push_back(&record);
  }
  std::ranges::sort(list, [](const Record* left, const Record* right) {
    return std::tie(left->sortIndex, left->recordName) < std::tie(right->sortIndex, right->recordName);
  });
  return list;
}

void addAreaCommands(CLI::App& app, const std::shared_ptr<Context>& context) {
  auto* area =
      app.add_subcommand("area", "Areas: add, rename, hide, show, delete, list")->require_subcommand(1);
  auto values = std::make_shared<std::vector<std::string>>();
  auto color = std::make_shared<std::string>();
  auto icon = std::make_shared<std::string>();

  auto* add = area->add_subcommand("add", "Add an area; prints its record name");
  add->add_option("name", *values, "The area's name")->required()->expected(1);
  add->add_option("--color", *color, "Colour name");
  add->add_option("--icon", *icon, "Icon name");
  add->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().areas(), store.addArea(values->at(0), *color, *icon));
    });
  });
  auto* rename = area->add_subcommand("rename", "Rename an area");
  rename->add_option("area name", *values)->required()->expected(2);
  rename->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setAreaName(values->at(0), values->at(1));
    });
  });
  for (const bool hide : {true, false}) {
    auto* visibility =
        area->add_subcommand(hide ? "hide" : "show", hide ? "Hide an area" : "Show a hidden area");
    visibility->add_option("area", *values)->required()->expected(1);
    visibility->callback([=] {
      context->run(
          [&](CloudKitStore& store, const CommandEnvironment&) { store.setAreaHidden(values->at(0), hide); });
    });
  }
  auto* remove = area->add_subcommand("delete", "Delete an empty area");
  remove->add_option("area", *values)->required()->expected(1);
  remove->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) { store.deleteArea(values->at(0)); });
  });
  area->add_subcommand("list", "List the areas")->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      for (const auto* record : sorted(store.cache().areas())) {
        std::cout << record->recordName << "  " << record->name << (record->isHidden ? "  (hidden)" : "")
                  << "\n";
      }
    });
  });
}

void addProjectCommands(CLI::App& app, const std::shared_ptr<Context>& context) {
  auto* project =
      app.add_subcommand("project", "Projects: add, rename, archive, activate, pin, unpin, delete, list")
          ->require_subcommand(1);
  auto values = std::make_shared<std::vector<std::string>>();
  auto area = std::make_shared<std::string>();
  auto purpose = std::make_shared<std::optional<std::string>>();

  auto* add = project->add_subcommand("add", "Add a project to an area; prints its record name");
  add->add_option("name", *values)->required()->expected(1);
  add->add_option("--area", *area, "The area to file it in")->required();
  add->add_option("--purpose", *purpose, "What the project is for");
  add->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().projects(), store.addProject(values->at(0), *area, *purpose));
    });
  });
  auto* rename = project->add_subcommand("rename", "Rename a project");
  rename->add_option("project name", *values)->required()->expected(2);
  rename->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setProjectName(values->at(0), values->at(1));
    });
  });
  for (const auto* status : {"archive", "activate"}) {
    auto* change = project->add_subcommand(status, std::string(status) + " a project");
    change->add_option("project", *values)->required()->expected(1);
    const std::string_view target =
        std::string_view(status) == "archive" ? ProjectRecord::archivedStatus : ProjectRecord::activeStatus;
    change->callback([=] {
      context->run([&](CloudKitStore& store, const CommandEnvironment&) {
        store.setProjectStatus(values->at(0), target);
      });
    });
  }
  for (const bool pin : {true, false}) {
    auto* change = project->add_subcommand(pin ? "pin" : "unpin", pin ? "Pin a project" : "Unpin a project");
    change->add_option("project", *values)->required()->expected(1);
    change->callback([=] {
      context->run([&](CloudKitStore& store, const CommandEnvironment&) {
        store.setProjectPinned(values->at(0), pin);
      });
    });
  }
  auto* remove = project->add_subcommand("delete", "Delete a project with its tasks and headers");
  remove->add_option("project", *values)->required()->expected(1);
  remove->callback([=] {
    context->run(
        [&](CloudKitStore& store, const CommandEnvironment&) { store.deleteProject(values->at(0)); });
  });
  project->add_subcommand("list", "List the projects")->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      std::vector<const ProjectRecord*> projects;
      for (const auto& [name, record] : store.cache().projects()) {
        projects.push_back(&record);
      }
      std::ranges::sort(projects, {}, &ProjectRecord::name);
      for (const auto* record : projects) {
        std::cout << record->recordName << "  " << record->name
                  << (record->isArchived() ? "  (archived)" : "") << "\n";
      }
    });
  });
}

void addTaskCommands(CLI::App& app, const std::shared_ptr<Context>& context) {
  auto* task =
      app.add_subcommand("task", "Tasks: add, rename, done, undone, due, schedule, move, delete, list")
          ->require_subcommand(1);
  auto values = std::make_shared<std::vector<std::string>>();
  auto project = std::make_shared<std::string>();
  auto area = std::make_shared<std::string>();
  auto gap = std::make_shared<std::optional<std::string>>();
  auto top = std::make_shared<bool>(false);

  auto* add = task->add_subcommand("add", "Add a task to a project or an area; prints its record name");
  add->add_option("title", *values)->required()->expected(1);
  auto* inProject = add->add_option("--project", *project, "The project it belongs to");
  add->add_option("--area", *area, "The area it belongs to")->excludes(inProject);
  add->add_flag("--top", *top, "Put it first instead of last");
  add->callback([=] {
    if (project->empty() == area->empty()) {
      throw std::invalid_argument("task add needs --project or --area");
    }
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      const auto name = project->empty() ? store.addTaskToArea(*area, values->at(0), *top)
                                         : store.addTaskToProject(*project, values->at(0), *top);
      printAdded(environment, store.cache().tasks(), name);
    });
  });
  auto* rename = task->add_subcommand("rename", "Retitle a task");
  rename->add_option("task title", *values)->required()->expected(2);
  rename->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setTaskTitle(values->at(0), values->at(1));
    });
  });
  for (const bool done : {true, false}) {
    auto* change =
        task->add_subcommand(done ? "done" : "undone", done ? "Mark tasks done" : "Mark tasks not done");
    change->add_option("tasks", *values)->required();
    change->callback([=] {
      context->run([&](CloudKitStore& store, const CommandEnvironment&) {
        for (const auto& name : *values) {
          store.setTaskDone(name, done);
        }
      });
    });
  }
  auto* due = task->add_subcommand("due", "Set a task's deadline: a day, an instant, or none");
  due->add_option("task due", *values)->required()->expected(2);
  due->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setTaskDueDate(values->at(0), parseDue(values->at(1)));
    });
  });
  auto* schedule = task->add_subcommand("schedule", "Plan tasks on a day (or none), optionally into a gap");
  schedule->add_option("day tasks", *values)->required()->expected(2, -1);
  schedule->add_option("--gap", *gap, "The gap's start time, HH:MM");
  schedule->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      const std::optional<CalendarDate> day =
          values->at(0) == "none" ? std::nullopt : std::optional(parseDay(values->at(0)));
      const std::vector<std::string> tasks(values->begin() + 1, values->end());
      store.setTaskSchedules(tasks, day, *gap);
    });
  });
  auto* move = task->add_subcommand("move", "Move a task, with its subtasks, to another project or area");
  move->add_option("task home", *values)->required()->expected(2);
  move->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.moveTask(values->at(0), values->at(1));
    });
  });
  auto* remove = task->add_subcommand("delete", "Delete tasks with their subtasks (undoable)");
  remove->add_option("tasks", *values)->required();
  remove->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) { store.deleteTasks(*values); });
  });
  task->add_subcommand("list", "List the tasks by home")->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      std::vector<const TaskRecord*> tasks;
      for (const auto& [name, record] : store.cache().tasks()) {
        tasks.push_back(&record);
      }
      std::ranges::sort(tasks, [](const TaskRecord* left, const TaskRecord* right) {
        return std::tie(left->homeRef, left->sortIndex, left->recordName) <
               std::tie(right->homeRef, right->sortIndex, right->recordName);
      });
      for (const auto* record : tasks) {
        std::cout << record->recordName << "  " << record->homeRef << "  [" << (record->done ? "x" : " ")
                  << "] " << (record->isSubtask() ? "  " : "") << record->title << "\n";
      }
    });
  });

  auto* subtask = app.add_subcommand("subtask", "Subtasks: add")->require_subcommand(1);
  auto* addSubtask = subtask->add_subcommand("add", "Add a subtask under a task; prints its record name");
  addSubtask->add_option("parent title", *values)->required()->expected(2);
  addSubtask->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().tasks(), store.addSubtask(values->at(0), values->at(1)));
    });
  });
}

void addInboxAndGapCommands(CLI::App& app, const std::shared_ptr<Context>& context) {
  auto values = std::make_shared<std::vector<std::string>>();
  auto notes = std::make_shared<std::optional<std::string>>();
  auto area = std::make_shared<std::string>();
  auto project = std::make_shared<std::optional<std::string>>();
  auto note = std::make_shared<bool>(false);
  auto label = std::make_shared<std::optional<std::string>>();
  auto reminder = std::make_shared<bool>(false);
  auto anyday = std::make_shared<bool>(false);

  auto* inbox = app.add_subcommand("inbox", "Inbox: add, triage, delete, list")->require_subcommand(1);
  auto* add = inbox->add_subcommand("add", "Capture an item; prints its record name");
  add->add_option("title", *values)->required()->expected(1);
  add->add_option("--notes", *notes, "Body text");
  add->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().inbox(),
                 store.addInboxItem(values->at(0), *notes, environment.clock().now()));
    });
  });
  auto* triage = inbox->add_subcommand("triage", "Turn an item into a task of an area or project");
  triage->add_option("item", *values)->required()->expected(1);
  triage->add_option("--area", *area)->required();
  triage->add_option("--project", *project);
  triage->add_flag("--note", *note, "Also note the item at the end of the project's purpose");
  triage->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().tasks(),
                 store.triageInboxItem(values->at(0), *area, *project, *note));
    });
  });
  auto* remove = inbox->add_subcommand("delete", "Delete an item");
  remove->add_option("item", *values)->required()->expected(1);
  remove->callback([=] {
    context->run(
        [&](CloudKitStore& store, const CommandEnvironment&) { store.deleteInboxItem(values->at(0)); });
  });
  inbox->add_subcommand("list", "List the inbox")->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      for (const auto* record : sorted(store.cache().inbox())) {
        std::cout << record->recordName << "  " << record->title << "\n";
      }
    });
  });

  auto* gap = app.add_subcommand("gap", "Gaps: add, delete, list")->require_subcommand(1);
  auto* addGap = gap->add_subcommand("add", "Add a gap on a day at a time; prints its record name");
  addGap->add_option("day time", *values)->required()->expected(2);
  addGap->add_option("--label", *label);
  addGap->add_flag("--reminder", *reminder, "Notify at its start");
  addGap->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().gaps(),
                 store.addGap(parseDay(values->at(0)), values->at(1), *label, *reminder));
    });
  });
  auto* removeGap = gap->add_subcommand("delete", "Delete a gap; its tasks stay on the day unless --anyday");
  removeGap->add_option("gap", *values)->required()->expected(1);
  removeGap->add_flag("--anyday", *anyday, "Return its tasks to anyday");
  removeGap->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.deleteGap(values->at(0),
                      *anyday ? GapTasksOnDelete::returnToAnyday : GapTasksOnDelete::keepOnDay);
    });
  });
  auto* list = gap->add_subcommand("list", "List a day's gaps");
  list->add_option("day", *values)->required()->expected(1);
  list->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      const auto day = parseDay(values->at(0)).description();
      for (const auto* record : sorted(store.cache().gaps())) {
        if (record->dayRef == day) {
          std::cout << record->recordName << "  " << record->time << "  " << record->label.value_or("")
                    << "\n";
        }
      }
    });
  });
}

} // namespace

void addPlannerCommands(CLI::App& app, const GlobalOptions& options) {
  auto context = std::make_shared<Context>(Context{options});
  app.add_flag("--offline", context->offline, "Change the planner without sending the change");
  addAreaCommands(app, context);
  addProjectCommands(app, context);
  addTaskCommands(app, context);
  addInboxAndGapCommands(app, context);
  app.add_subcommand("undo", "Take back the last task deletion or move")->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      if (const auto& action = store.lastUndoable()) {
        std::cout << action->menuTitle() << "\n";
      }
      store.undoLast();
    });
  });
}

} // namespace vantrel::cli
