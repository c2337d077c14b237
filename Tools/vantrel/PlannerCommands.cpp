#include "Tools/vantrel/PlannerCommands.hpp"

#include "Tools/vantrel/Arguments.hpp"
#include "Tools/vantrel/CalendarCommands.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/DayCommands.hpp"
#include "Tools/vantrel/DemoCommand.hpp"
#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/PlannerContext.hpp"
#include "Tools/vantrel/RecordReport.hpp"
#include "Tools/vantrel/ReminderCommands.hpp"
#include "Tools/vantrel/StatusCommand.hpp"
#include "Tools/vantrel/TaskCommands.hpp"
#include "Tools/vantrel/UndoReport.hpp"
#include "Tools/vantrel/ViewCommands.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"

#include <memory>
#include <stdexcept>

namespace vantrel::cli {
namespace {

const std::string areaHelp = "The area: its name, the start of it, or its record name";
const std::string projectHelp = "The project: its name, the start of it, or its record name";

std::string plural(std::size_t count, std::string_view one) {
  return std::to_string(count) + " " + std::string(one) + (count == 1 ? "" : "s");
}

void addAreaCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string area;
    std::string text;
    std::string color;
    std::string icon;
    std::vector<std::string> items;
  };
  auto given = std::make_shared<Given>();
  auto* area = app.add_subcommand("area", "Areas: add, rename, color, hide, show, reorder, delete, list")
                   ->require_subcommand(1);

  auto* add = area->add_subcommand("add", "Add an area");
  argument(*add, "name", given->text, "The area's name");
  add->add_option("--color", given->color, "Its colour: #RRGGBB or a name such as blue, green, orange");
  add->add_option("--icon", given->icon, "Its icon's name");
  add->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto color = given->color.empty() ? std::string() : parseColor(given->color, "--color");
      const auto name = run.store.addArea(parseTitle(given->text, "NAME"), color, given->icon);
      const auto& record = run.cache().areas().at(name);
      if (run.output.json()) {
        JSONWriter json;
        RecordReport(run.cache()).area(json, record);
        return run.output.print(json);
      }
      run.output.changed("Added area " + inQuotes(record.name) + " (" + name + ")");
    });
  });

  auto* rename = area->add_subcommand("rename", "Rename an area");
  argument(*rename, "area", given->area, areaHelp);
  argument(*rename, "name", given->text, "The new name");
  rename->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.area(given->area);
      const auto before = run.cache().areas().at(name).name;
      run.store.setAreaName(name, parseTitle(given->text, "NAME"));
      run.output.changed("Renamed area " + inQuotes(before) + " to " +
                         inQuotes(run.cache().areas().at(name).name));
    });
  });

  for (const bool hide : {true, false}) {
    auto* visibility =
        area->add_subcommand(hide ? "hide" : "show", hide ? "Hide an area" : "Show a hidden area");
    argument(*visibility, "area", given->area, areaHelp);
    visibility->callback([=] {
      context->run([=](PlannerRun& run) {
        const auto name = run.find.area(given->area);
        run.store.setAreaHidden(name, hide);
        run.output.changed(std::string(hide ? "Hid" : "Showed") + " area " +
                           inQuotes(run.cache().areas().at(name).name));
      });
    });
  }

  auto* recolor = area->add_subcommand("color", "Change an area's colour");
  argument(*recolor, "area", given->area, areaHelp);
  argument(*recolor, "color", given->color, "#RRGGBB or a name such as blue, green, orange");
  recolor->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.area(given->area);
      const auto color = parseColor(given->color, "COLOR");
      run.store.setAreaColor(name, color);
      run.output.changed("Area " + inQuotes(run.cache().areas().at(name).name) + " is " + color + " now");
    });
  });

  auto* reorder = area->add_subcommand("reorder", "Put an area's projects and headers in the given order");
  argument(*reorder, "area", given->area, areaHelp);
  argument(*reorder, "items", given->items, "Its projects and headers, by name or record name, in order");
  reorder->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.area(given->area);
      const auto items = run.find.areaItems(name);
      std::vector<AreaItemKey> order;
      for (const auto& item : given->items) {
        const auto picked = RecordLookup::pick("project or header in this area", items, item);
        order.push_back(run.cache().areaSections().contains(picked) ? AreaItemKey::section(picked)
                                                                    : AreaItemKey::project(picked));
      }
      run.store.reorderAreaProjects(name, order);
      run.output.changed("Reordered area " + inQuotes(run.cache().areas().at(name).name));
    });
  });

  auto* reorderTasks = area->add_subcommand("reorder-tasks", "Put an area's own tasks in the given order");
  argument(*reorderTasks, "area", given->area, areaHelp);
  argument(*reorderTasks, "tasks", given->items, "Its tasks, by title or record name, in order");
  reorderTasks->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.area(given->area);
      std::vector<RecordLookup::Candidate> tasks;
      for (const auto& task : CloudKitCache::namesIn(run.cache().tasksByHome(), name)) {
        tasks.push_back({task, run.cache().tasks().at(task).title});
      }
      std::vector<std::string> order;
      for (const auto& task : given->items) {
        order.push_back(RecordLookup::pick("task in this area", tasks, task));
      }
      run.store.reorderAreaTasks(name, order);
      run.output.changed("Reordered the tasks of area " + inQuotes(run.cache().areas().at(name).name));
    });
  });

  auto* remove = area->add_subcommand("delete", "Delete an area that holds no visible projects or tasks");
  argument(*remove, "area", given->area, areaHelp);
  remove->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.find.area(given->area);
      const auto title = run.cache().areas().at(name).name;
      try {
        run.store.deleteArea(name);
      } catch (const CloudKitStoreError& error) {
        if (error.kind() != CloudKitStoreError::Kind::areaNotEmpty) {
          throw;
        }
        throw std::invalid_argument("area " + inQuotes(title) +
                                    " still holds projects or tasks; move or delete them first");
      }
      run.output.changed("Deleted area " + inQuotes(title));
    });
  });

  area->add_subcommand("list", "List the areas")->callback([=] {
    context->view([](PlannerRun& run) {
      const auto areas = inListOrder(run.cache().areas());
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto* record : areas) {
          RecordReport(run.cache()).area(json, *record);
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto* record : areas) {
        table.row().cell(record->name).cell(record->isHidden ? "hidden" : "", TextTone::dim);
        table.cell(record->recordName, TextTone::dim);
      }
      run.output.print(table);
    });
  });
}

void addProjectCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string project;
    std::string text;
    std::optional<std::string> purpose;
    std::string area;
    std::string belowHeader;
    std::vector<std::string> items;
    bool yes = false;
  };
  auto given = std::make_shared<Given>();
  auto* project =
      app.add_subcommand(
             "project",
             "Projects: add, rename, purpose, due, archive, activate, pin, unpin, reorder, delete, list")
          ->require_subcommand(1);

  auto* add = project->add_subcommand("add", "Add a project to an area");
  argument(*add, "name", given->text, "The project's name");
  auto* inArea = add->add_option("--area", given->area, "The area to file it in, after its last item");
  auto* purposeOption = add->add_option("--purpose", given->purpose, "What the project is for");
  add->add_option("--below-header", given->belowHeader, "File it directly under this area header")
      ->excludes(inArea)
      ->excludes(purposeOption);
  add->callback([=] {
    if (given->area.empty() == given->belowHeader.empty()) {
      throw CLI::ValidationError("project add needs --area or --below-header");
    }
    context->run([=](PlannerRun& run) {
      const auto title = parseTitle(given->text, "NAME");
      const auto name = given->area.empty()
                            ? run.store.addProjectBelowHeader(run.find.header(given->belowHeader), title)
                            : run.store.addProject(title, run.find.area(given->area), given->purpose);
      const auto& record = run.cache().projects().at(name);
      if (run.output.json()) {
        JSONWriter json;
        RecordReport(run.cache()).project(json, record);
        return run.output.print(json);
      }
      run.output.changed("Added project " + inQuotes(record.name) + " (" + name + ")");
    });
  });

  const auto projectCommand = [&](const char* name, const std::string& description) {
    auto* command = project->add_subcommand(name, description);
    argument(*command, "project", given->project, projectHelp);
    return command;
  };
  const auto change = [=](CLI::App* command, auto apply) {
    command->callback([=] {
      context->run([=](PlannerRun& run) {
        const auto name = run.find.project(given->project);
        run.output.changed(apply(run, name, run.cache().projects().at(name).name));
      });
    });
  };

  auto* describe = projectCommand("purpose", "Set what a project is for; without text, clear it");
  optionalArgument(*describe, "text", given->purpose, "What it is for");
  change(describe, [=](PlannerRun& run, const std::string& name, const std::string& title) {
    run.store.setProjectPurpose(name, given->purpose);
    return (given->purpose ? "Set the purpose of project " : "Cleared the purpose of project ") +
           inQuotes(title);
  });

  auto* due = projectCommand("due", "Set a project's deadline: a day, an instant, or none");
  argument(*due, "due", given->text, "YYYY-MM-DD, today, tomorrow, an instant YYYY-MM-DDTHH:MM, or none");
  change(due, [=](PlannerRun& run, const std::string& name, const std::string& title) {
    const auto deadline = parseDue(given->text, "DUE", run.today);
    run.store.setProjectDueDate(name, deadline);
    return "Project " + inQuotes(title) +
           (deadline ? " is due " + LocalFormat::instant(*deadline) : std::string(" has no deadline now"));
  });

  auto* reorder = projectCommand("reorder", "Put a project's tasks and headers in the given order");
  argument(*reorder, "items", given->items, "Its tasks and headers, by title or record name, in order");
  change(reorder, [=](PlannerRun& run, const std::string& name, const std::string& title) {
    const auto items = run.find.projectItems(name);
    std::vector<ProjectItemKey> order;
    for (const auto& item : given->items) {
      const auto picked = RecordLookup::pick("task or header in this project", items, item);
      order.push_back(run.cache().projectSections().contains(picked) ? ProjectItemKey::section(picked)
                                                                     : ProjectItemKey::task(picked));
    }
    run.store.reorderProject(name, order);
    return "Reordered project " + inQuotes(title);
  });

  auto* rename = projectCommand("rename", "Rename a project");
  argument(*rename, "name", given->text, "The new name");
  change(rename, [=](PlannerRun& run, const std::string& name, const std::string& title) {
    run.store.setProjectName(name, parseTitle(given->text, "NAME"));
    return "Renamed project " + inQuotes(title) + " to " + inQuotes(run.cache().projects().at(name).name);
  });

  for (const bool archive : {true, false}) {
    auto* status = projectCommand(archive ? "archive" : "activate",
                                  archive ? "Archive a project" : "Make an archived project active again");
    change(status, [=](PlannerRun& run, const std::string& name, const std::string& title) {
      run.store.setProjectStatus(name, archive ? ProjectRecord::archivedStatus : ProjectRecord::activeStatus);
      return std::string(archive ? "Archived" : "Activated") + " project " + inQuotes(title);
    });
  }
  for (const bool pin : {true, false}) {
    auto* pinning = projectCommand(pin ? "pin" : "unpin", pin ? "Pin a project" : "Unpin a project");
    change(pinning, [=](PlannerRun& run, const std::string& name, const std::string& title) {
      run.store.setProjectPinned(name, pin);
      return std::string(pin ? "Pinned" : "Unpinned") + " project " + inQuotes(title);
    });
  }

  auto* remove = projectCommand("delete", "Delete a project with its tasks and headers");
  remove->add_flag("-y,--yes", given->yes, "Delete it with its tasks without asking");
  change(remove, [=](PlannerRun& run, const std::string& name, const std::string& title) {
    const auto tasks = CloudKitCache::namesIn(run.cache().allTasksByHome(), name).size();
    if (tasks > 0 && !given->yes) {
      const auto question = "Delete project " + inQuotes(title) + " with its " + plural(tasks, "task") + "?";
      const auto answer = run.output.ask(question);
      if (!answer) {
        throw std::invalid_argument("project " + inQuotes(title) + " holds " + plural(tasks, "task") +
                                    "; add --yes to delete it with them");
      }
      if (!*answer) {
        throw std::invalid_argument("kept project " + inQuotes(title));
      }
    }
    run.store.deleteProject(name);
    return "Deleted project " + inQuotes(title) + (tasks > 0 ? " and its " + plural(tasks, "task") : "");
  });

  project->add_subcommand("list", "List the projects by area")->callback([=] {
    context->view([](PlannerRun& run) {
      const RecordReport report(run.cache());
      std::vector<const ProjectRecord*> projects;
      for (const auto& [name, record] : run.cache().projects()) {
        projects.push_back(&record);
      }
      const auto areaName = [&](const ProjectRecord* record) {
        const auto area = report.areaOfProject(record->recordName);
        const auto found = area ? run.cache().areas().find(*area) : run.cache().areas().end();
        return found == run.cache().areas().end() ? std::string() : found->second.name;
      };
      std::ranges::sort(projects, [&](const ProjectRecord* left, const ProjectRecord* right) {
        return std::tuple(areaName(left), left->name, left->recordName) <
               std::tuple(areaName(right), right->name, right->recordName);
      });
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto* record : projects) {
          report.project(json, *record);
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto* record : projects) {
        table.row().cell(record->name).cell(areaName(record), TextTone::dim);
        table.cell(record->isArchived() ? "archived" : "", TextTone::dim);
        table.cell(record->dueDate
                       ? "due " + LocalFormat::shortDay(CalendarDate::localDayOf(*record->dueDate), run.today)
                       : "");
        table.cell(record->recordName, TextTone::dim);
      }
      run.output.print(table);
    });
  });
}

} // namespace

void addPlannerCommands(CLI::App& app, const GlobalOptions& options) {
  auto context = std::make_shared<PlannerContext>(PlannerContext{.options = options, .app = app});
  app.add_flag("--offline", context->offline, "Neither send nor fetch: work on this device's copy only");
  addAreaCommands(app, context);
  addProjectCommands(app, context);
  addTaskCommands(app, context);
  addDayCommands(app, context);
  addStatusCommand(app, context);
  addReminderCommands(app, context);
  addCalendarCommands(app, context);
  addDemoCommand(app, context);
  addViewCommands(app, context);
  app.add_subcommand("undo", "Take back the last deletion of tasks or change of the day or gap tasks are "
                             "planned in, however many commands ago")
      ->callback([=] {
        context->run([](PlannerRun& run) {
          const auto action = run.store.lastUndoable();
          if (!action) {
            return run.output.changed("Nothing to undo.");
          }
          run.store.undoLast();
          run.output.changed(undoReport(*action, run.cache(), run.today));
        });
      });
}

} // namespace vantrel::cli
