#include "Tools/vantrel/TaskCommands.hpp"

#include "Tools/vantrel/Arguments.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"
#include "Tools/vantrel/TaskListing.hpp"
#include "VantrelCore/Store/LookupError.hpp"
#include "VantrelCore/Store/TaskOutline.hpp"

#include <stdexcept>

namespace vantrel::cli {
namespace {

const std::string taskHelp = "The task: its title, the start of it, or its record name";

std::string titleOf(const PlannerRun& run, const std::string& task) {
  return run.cache().tasks().at(task).title;
}

/// "'A'", or "3 tasks" for several.
std::string tasksText(const PlannerRun& run, const std::vector<std::string>& tasks) {
  return tasks.size() == 1 ? inQuotes(titleOf(run, tasks.front())) : std::to_string(tasks.size()) + " tasks";
}

void printAddedTask(PlannerRun& run, const std::string& name) {
  const auto& task = run.cache().tasks().at(name);
  if (run.output.json()) {
    JSONWriter json;
    RecordReport(run.cache()).task(json, task);
    return run.output.print(json);
  }
  run.output.changed("Added " + std::string(task.isSubtask() ? "subtask " : "task ") + inQuotes(task.title) +
                     " to " + inQuotes(RecordReport(run.cache()).homeName(task)) + " (" + name + ")");
}

void addTaskAdd(CLI::App& task, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string title;
    std::string project;
    std::string area;
    std::string after;
    std::string belowHeader;
    std::optional<std::string> day;
    std::optional<std::string> due;
    NewTaskOptions placement;
  };
  auto given = std::make_shared<Given>();
  auto* add = task.add_subcommand("add", "Add a task to a project or an area");
  argument(*add, "title", given->title, "The task's title");
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
  onlyInHome(add->add_option("--on", given->day, "Plan it on this day: YYYY-MM-DD, today or tomorrow"));
  onlyInHome(add->add_option("--name", given->placement.recordName, "The record name to give it"));
  add->add_option("--due", given->due, "Its deadline: a day, an instant, or none");
  add->callback([=] {
    if (given->project.empty() && given->area.empty() && given->after.empty() && given->belowHeader.empty()) {
      throw CLI::ValidationError("task add needs --project, --area, --after or --below-header");
    }
    context->run([=](PlannerRun& run) {
      const auto title = parseTitle(given->title, "TITLE");
      NewTaskOptions options = given->placement;
      if (given->day) {
        options.plannedDate = parseDay(*given->day, "--on", run.today);
      }
      const auto due = given->due ? parseDue(*given->due, "--due", run.today) : std::nullopt;
      std::string name;
      if (!given->after.empty()) {
        name = run.store.addTaskBelow(run.find.task(given->after), title);
      } else if (!given->belowHeader.empty()) {
        name = run.store.addTaskBelowHeader(run.find.header(given->belowHeader), title);
      } else if (!given->project.empty()) {
        name = run.store.addTaskToProject(run.find.project(given->project), title, options);
      } else {
        name = run.store.addTaskToArea(run.find.area(given->area), title, options);
      }
      if (due) {
        run.store.setTaskDueDate(name, due);
      }
      printAddedTask(run, name);
    });
  });
}

void addTaskChanges(CLI::App& task, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string task;
    std::string text;
    std::string day;
    std::vector<std::string> tasks;
    std::optional<std::string> gap;
  };
  auto given = std::make_shared<Given>();

  auto* rename = task.add_subcommand("rename", "Retitle a task");
  argument(*rename, "task", given->task, taskHelp);
  argument(*rename, "title", given->text, "The new title");
  rename->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.task(given->task);
      const auto before = titleOf(run, name);
      run.store.setTaskTitle(name, parseTitle(given->text, "TITLE"));
      run.output.changed("Renamed task " + inQuotes(before) + " to " + inQuotes(titleOf(run, name)));
    });
  });

  const auto findAll = [](const PlannerRun& run, const std::vector<std::string>& texts) {
    std::vector<std::string> names;
    for (const auto& text : texts) {
      names.push_back(run.find.task(text));
    }
    return names;
  };
  for (const bool done : {true, false}) {
    auto* change =
        task.add_subcommand(done ? "done" : "undone", done ? "Mark tasks done" : "Mark tasks not done");
    argument(*change, "tasks", given->tasks, "The tasks, each by title, the start of it, or record name");
    change->callback([=] {
      context->run([=](PlannerRun& run) {
        const auto names = findAll(run, given->tasks);
        for (const auto& name : names) {
          run.store.setTaskDone(name, done);
        }
        run.output.changed("Marked " + tasksText(run, names) + (done ? " done" : " not done"));
      });
    });
  }

  auto* due = task.add_subcommand("due", "Set a task's deadline: a day, an instant, or none");
  argument(*due, "task", given->task, taskHelp);
  argument(*due, "due", given->text, "YYYY-MM-DD, today, tomorrow, an instant YYYY-MM-DDTHH:MM, or none");
  due->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.task(given->task);
      const auto deadline = parseDue(given->text, "DUE", run.today);
      run.store.setTaskDueDate(name, deadline);
      run.output.changed("Task " + inQuotes(titleOf(run, name)) +
                         (deadline ? " is due " + LocalFormat::instant(*deadline) : " has no deadline now"));
    });
  });

  auto* schedule = task.add_subcommand("schedule", "Plan tasks on a day (or none), optionally into a gap");
  argument(*schedule, "day", given->day, "YYYY-MM-DD, today, tomorrow, or none for Anyday");
  argument(*schedule, "tasks", given->tasks, "The tasks, each by title, the start of it, or record name");
  schedule->add_option("--gap", given->gap, "The gap: its time (9:00), its label, or its record name");
  schedule->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto day = parseDayOrNone(given->day, "DAY", run.today);
      const auto names = findAll(run, given->tasks);
      std::optional<std::string> gapTime;
      std::string where = day ? LocalFormat::shortDay(*day, run.today) : "Anyday";
      if (given->gap) {
        if (!day) {
          throw std::invalid_argument("--gap needs a day; tasks planned for Anyday are in no gap");
        }
        const auto& gap = run.find.gap(*given->gap, *day);
        gapTime = gap.time;
        where += ", gap " + LocalFormat::timeOfDay(gap.time) + (gap.label ? " " + inQuotes(*gap.label) : "");
      }
      run.store.setTaskSchedules(names, day, gapTime);
      run.output.changed("Planned " + tasksText(run, names) + " on " + where);
    });
  });

  auto* move = task.add_subcommand("move", "Move a task, with its subtasks, to another project or area");
  argument(*move, "task", given->task, taskHelp);
  argument(*move, "home", given->text, "The project or area, by name, the start of it, or record name");
  move->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.task(given->task);
      run.store.moveTask(name, run.find.home(given->text));
      run.output.changed("Moved task " + inQuotes(titleOf(run, name)) + " to " +
                         inQuotes(RecordReport(run.cache()).homeName(run.cache().tasks().at(name))));
    });
  });

  auto* remove =
      task.add_subcommand("delete", "Delete tasks with their subtasks (vantrel undo restores them)");
  argument(*remove, "tasks", given->tasks, "The tasks, each by title, the start of it, or record name");
  remove->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto names = findAll(run, given->tasks);
      const auto what = tasksText(run, names);
      run.store.deleteTasks(names);
      run.output.changed("Deleted " + what + "; vantrel undo restores " +
                         (names.size() == 1 ? "it" : "them"));
    });
  });
}

void addTaskList(CLI::App& task, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    bool open = false;
    bool done = false;
    std::string project;
    std::string area;
    std::string day;
    bool anyday = false;
    std::string dueBefore;
  };
  auto given = std::make_shared<Given>();
  auto* list =
      task.add_subcommand("list", "List the tasks by area, project and header, subtasks under their task");
  auto* open = list->add_flag("--open", given->open, "Only the tasks not done");
  list->add_flag("--done", given->done, "Only the tasks done")->excludes(open);
  list->add_option("--project", given->project, "Only this project's tasks");
  list->add_option("--area", given->area, "Only this area's tasks, its projects' included");
  auto* on = list->add_option("--on", given->day, "Only the tasks planned on this day");
  list->add_flag("--anyday", given->anyday, "Only the tasks planned on no day")->excludes(on);
  list->add_option("--due-before", given->dueBefore, "Only the tasks due before this day");
  list->callback([=] {
    context->view([=](PlannerRun& run) {
      TaskFilter filter;
      if (given->open || given->done) {
        filter.done = given->done;
      }
      if (!given->project.empty()) {
        filter.project = run.find.project(given->project);
      }
      if (!given->area.empty()) {
        filter.area = run.find.area(given->area);
      }
      if (!given->day.empty()) {
        filter.day = parseDay(given->day, "--on", run.today);
      }
      filter.anyday = given->anyday;
      if (!given->dueBefore.empty()) {
        filter.dueBefore = parseDay(given->dueBefore, "--due-before", run.today).localTime(0);
      }
      printOutline(run, TaskOutline::of(run.cache(), filter));
    });
  });
}

void addSubtaskCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string parent;
    std::string title;
    std::optional<std::string> name;
  };
  auto given = std::make_shared<Given>();
  auto* subtask = app.add_subcommand("subtask", "Subtasks: add")->require_subcommand(1);
  auto* add = subtask->add_subcommand("add", "Add a subtask under a task");
  argument(*add, "parent", given->parent,
           "The task it goes under: its title, the start of it, or record name");
  argument(*add, "title", given->title, "The subtask's title");
  add->add_option("--name", given->name, "The record name to give it");
  add->callback([=] {
    context->run([=](PlannerRun& run) {
      printAddedTask(run, run.store.addSubtask(run.find.task(given->parent),
                                               parseTitle(given->title, "TITLE"), given->name));
    });
  });
}

void addHeaderCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string header;
    std::string title;
    std::string project;
    std::string area;
    bool top = false;
  };
  auto given = std::make_shared<Given>();
  auto* header = app.add_subcommand("header", "Headers of a project or an area: add, rename, delete, list")
                     ->require_subcommand(1);
  const auto addHome = [&](CLI::App& command) {
    auto* inProject = command.add_option("--project", given->project, "A header among the project's tasks");
    command.add_option("--area", given->area, "A header among the area's projects")->excludes(inProject);
  };
  const auto requireHome = [=](std::string_view command) {
    if (given->project.empty() == given->area.empty()) {
      throw CLI::ValidationError("header " + std::string(command) + " needs --project or --area");
    }
  };
  const auto headerJSON = [](PlannerRun& run, JSONWriter& json, const std::string& name) {
    const RecordReport report(run.cache());
    if (const auto found = run.cache().projectSections().find(name);
        found != run.cache().projectSections().end()) {
      return report.projectHeader(json, found->second);
    }
    report.areaHeader(json, run.cache().areaSections().at(name));
  };
  const auto headerTitle = [](PlannerRun& run, const std::string& name) {
    const auto found = run.cache().projectSections().find(name);
    return found != run.cache().projectSections().end() ? found->second.title
                                                        : run.cache().areaSections().at(name).title;
  };

  auto* add = header->add_subcommand("add", "Add a header");
  argument(*add, "title", given->title, "The header's title");
  addHome(*add);
  add->add_flag("--top", given->top, "Put it first instead of last");
  add->callback([=] {
    requireHome("add");
    context->run([=](PlannerRun& run) {
      const auto title = parseTitle(given->title, "TITLE");
      const auto name =
          !given->project.empty()
              ? run.store.addHeaderToProject(run.find.project(given->project), title, given->top)
              : run.store.addHeaderToArea(run.find.area(given->area), title, given->top);
      if (run.output.json()) {
        JSONWriter json;
        headerJSON(run, json, name);
        return run.output.print(json);
      }
      run.output.changed("Added header " + inQuotes(title) + " (" + name + ")");
    });
  });
  auto* rename = header->add_subcommand("rename", "Retitle a header");
  argument(*rename, "header", given->header, "The header: its title, the start of it, or its record name");
  argument(*rename, "title", given->title, "The new title");
  rename->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.header(given->header);
      const auto before = headerTitle(run, name);
      run.store.setHeaderTitle(name, parseTitle(given->title, "TITLE"));
      run.output.changed("Renamed header " + inQuotes(before) + " to " + inQuotes(headerTitle(run, name)));
    });
  });
  auto* remove = header->add_subcommand("delete", "Delete a header; a project header's tasks stay");
  argument(*remove, "header", given->header, "The header: its title, the start of it, or its record name");
  remove->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.header(given->header);
      const auto title = headerTitle(run, name);
      run.store.deleteHeader(name);
      run.output.changed("Deleted header " + inQuotes(title));
    });
  });
  auto* list = header->add_subcommand("list", "List the headers of a project or an area");
  addHome(*list);
  list->callback([=] {
    requireHome("list");
    context->view([=](PlannerRun& run) {
      std::vector<std::string> names;
      if (!given->project.empty()) {
        const auto project = run.find.project(given->project);
        for (const auto* record : inListOrder(run.cache().projectSections())) {
          if (record->projectRef == project) {
            names.push_back(record->recordName);
          }
        }
      } else {
        const auto area = run.find.area(given->area);
        for (const auto* record : inListOrder(run.cache().areaSections())) {
          if (record->areaRef == area && record->userRef == run.cache().currentUserRef()) {
            names.push_back(record->recordName);
          }
        }
      }
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto& name : names) {
          headerJSON(run, json, name);
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto& name : names) {
        table.row().cell(headerTitle(run, name)).cell(name, TextTone::dim);
      }
      run.output.print(table);
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
  addTaskList(*task, context);
  addSubtaskCommands(app, context);
  addHeaderCommands(app, context);
}

} // namespace vantrel::cli
