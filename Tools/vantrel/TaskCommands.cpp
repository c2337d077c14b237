#include "Tools/vantrel/TaskCommands.hpp"

#include "Tools/vantrel/TerminalText.hpp"

#include <stdexcept>

namespace vantrel::cli {
namespace {

void addTaskAdd(CLI::App& task, const std::shared_ptr<PlannerContext>& context) {
  struct Options {
    std::string title;
    std::string project;
    std::string area;
    std::string after;
    std::string belowHeader;
    std::optional<std::string> day;
    NewTaskOptions placement;
  };
  auto given = std::make_shared<Options>();
  auto* add = task.add_subcommand("add", "Add a task to a project or an area; prints its record name");
  add->add_option("title", given->title)->required();
  auto* inProject = add->add_option("--project", given->project, "The project it belongs to");
  auto* inArea = add->add_option("--area", given->area, "The area it belongs to")->excludes(inProject);
  auto* after = add->add_option("--after", given->after, "Put it directly after this task, in its list")
                    ->excludes(inProject, inArea);
  auto* belowHeader =
      add->add_option("--below-header", given->belowHeader, "Put it directly under this project header")
          ->excludes(inProject, inArea, after);
  const auto onlyInHome = [&](CLI::Option* option) { option->excludes(after)->excludes(belowHeader); };
  onlyInHome(add->add_flag("--top", given->placement.insertAtTop, "Put it first instead of last"));
  onlyInHome(add->add_flag("--above-first-header", given->placement.aboveFirstSection,
                           "Project only: after the tasks that come before the first header"));
  onlyInHome(add->add_option("--on", given->day, "Plan it on this day, YYYY-MM-DD"));
  onlyInHome(add->add_option("--name", given->placement.recordName, "The record name to give it"));
  add->callback([=] {
    if (given->project.empty() && given->area.empty() && given->after.empty() && given->belowHeader.empty()) {
      throw std::invalid_argument("task add needs --project, --area, --after or --below-header");
    }
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      NewTaskOptions options = given->placement;
      if (given->day) {
        options.plannedDate = parseDay(*given->day);
      }
      std::string name;
      if (!given->after.empty()) {
        name = store.addTaskBelow(given->after, given->title);
      } else if (!given->belowHeader.empty()) {
        name = store.addTaskBelowHeader(given->belowHeader, given->title);
      } else if (!given->project.empty()) {
        name = store.addTaskToProject(given->project, given->title, options);
      } else {
        name = store.addTaskToArea(given->area, given->title, options);
      }
      printAdded(environment, store.cache().tasks(), name);
    });
  });
}

void addTaskChanges(CLI::App& task, const std::shared_ptr<PlannerContext>& context) {
  auto values = std::make_shared<std::vector<std::string>>();
  auto gap = std::make_shared<std::optional<std::string>>();
  auto* rename = task.add_subcommand("rename", "Retitle a task");
  rename->add_option("task title", *values)->required()->expected(2);
  rename->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setTaskTitle(values->at(0), values->at(1));
    });
  });
  for (const bool done : {true, false}) {
    auto* change =
        task.add_subcommand(done ? "done" : "undone", done ? "Mark tasks done" : "Mark tasks not done");
    change->add_option("tasks", *values)->required();
    change->callback([=] {
      context->run([&](CloudKitStore& store, const CommandEnvironment&) {
        for (const auto& name : *values) {
          store.setTaskDone(name, done);
        }
      });
    });
  }
  auto* due = task.add_subcommand("due", "Set a task's deadline: a day, an instant, or none");
  due->add_option("task due", *values)->required()->expected(2);
  due->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setTaskDueDate(values->at(0), parseDue(values->at(1)));
    });
  });
  auto* schedule = task.add_subcommand("schedule", "Plan tasks on a day (or none), optionally into a gap");
  schedule->add_option("day tasks", *values)->required()->expected(2, -1);
  schedule->add_option("--gap", *gap, "The gap's start time, HH:MM");
  schedule->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      const std::vector<std::string> tasks(values->begin() + 1, values->end());
      store.setTaskSchedules(tasks, parseDayOrNone(values->at(0)), *gap);
    });
  });
  auto* move = task.add_subcommand("move", "Move a task, with its subtasks, to another project or area");
  move->add_option("task home", *values)->required()->expected(2);
  move->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.moveTask(values->at(0), values->at(1));
    });
  });
  auto* remove = task.add_subcommand("delete", "Delete tasks with their subtasks (undoable)");
  remove->add_option("tasks", *values)->required();
  remove->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) { store.deleteTasks(*values); });
  });
  task.add_subcommand("list", "List the tasks by home")->callback([=] {
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
        std::cout << terminalText(record->recordName) << "  " << terminalText(record->homeRef) << "  ["
                  << (record->done ? "x" : " ") << "] " << (record->isSubtask() ? "  " : "")
                  << terminalText(record->title) << "\n";
      }
    });
  });
}

void addSubtaskCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto values = std::make_shared<std::vector<std::string>>();
  auto name = std::make_shared<std::optional<std::string>>();
  auto* subtask = app.add_subcommand("subtask", "Subtasks: add")->require_subcommand(1);
  auto* add = subtask->add_subcommand("add", "Add a subtask under a task; prints its record name");
  add->add_option("parent title", *values)->required()->expected(2);
  add->add_option("--name", *name, "The record name to give it");
  add->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().tasks(), store.addSubtask(values->at(0), values->at(1), *name));
    });
  });
}

void addHeaderCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* header = app.add_subcommand("header", "Headers of a project or an area: add, rename, delete, list")
                     ->require_subcommand(1);
  auto values = std::make_shared<std::vector<std::string>>();
  auto project = std::make_shared<std::string>();
  auto area = std::make_shared<std::string>();
  auto top = std::make_shared<bool>(false);
  const auto addHome = [&](CLI::App& command) {
    auto* inProject = command.add_option("--project", *project, "A header among the project's tasks");
    command.add_option("--area", *area, "A header among the area's projects")->excludes(inProject);
  };
  const auto requireHome = [=](std::string_view command) {
    if (project->empty() == area->empty()) {
      throw std::invalid_argument("header " + std::string(command) + " needs --project or --area");
    }
  };

  auto* add = header->add_subcommand("add", "Add a header; prints its record name");
  add->add_option("title", *values)->required()->expected(1);
  addHome(*add);
  add->add_flag("--top", *top, "Put it first instead of last");
  add->callback([=] {
    requireHome("add");
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      if (!project->empty()) {
        printAdded(environment, store.cache().projectSections(),
                   store.addHeaderToProject(*project, values->at(0), *top));
      } else {
        printAdded(environment, store.cache().areaSections(),
                   store.addHeaderToArea(*area, values->at(0), *top));
      }
    });
  });
  auto* rename = header->add_subcommand("rename", "Retitle a header");
  rename->add_option("header title", *values)->required()->expected(2);
  rename->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setHeaderTitle(values->at(0), values->at(1));
    });
  });
  auto* remove = header->add_subcommand("delete", "Delete a header; a project header's tasks stay");
  remove->add_option("header", *values)->required()->expected(1);
  remove->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) { store.deleteHeader(values->at(0)); });
  });
  auto* list = header->add_subcommand("list", "List the headers of a project or an area");
  addHome(*list);
  list->callback([=] {
    requireHome("list");
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      if (!project->empty()) {
        for (const auto* record : sorted(store.cache().projectSections())) {
          if (record->projectRef == *project) {
            std::cout << terminalText(record->recordName) << "  " << terminalText(record->title) << "\n";
          }
        }
        return;
      }
      for (const auto* record : sorted(store.cache().areaSections())) {
        if (record->areaRef == *area && record->userRef == store.cache().currentUserRef()) {
          std::cout << terminalText(record->recordName) << "  " << terminalText(record->title) << "\n";
        }
      }
    });
  });
}

} // namespace

void addTaskCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* task =
      app.add_subcommand("task", "Tasks: add, rename, done, undone, due, schedule, move, delete, list")
          ->require_subcommand(1);
  addTaskAdd(*task, context);
  addTaskChanges(*task, context);
  addSubtaskCommands(app, context);
  addHeaderCommands(app, context);
}

} // namespace vantrel::cli
