#include "Tools/vantrel/PlannerCommands.hpp"

#include "Tools/vantrel/CalendarCommands.hpp"
#include "Tools/vantrel/DayCommands.hpp"
#include "Tools/vantrel/DemoCommand.hpp"
#include "Tools/vantrel/PlannerContext.hpp"
#include "Tools/vantrel/ReminderCommands.hpp"
#include "Tools/vantrel/StatusCommand.hpp"
#include "Tools/vantrel/TaskCommands.hpp"
#include "Tools/vantrel/TerminalText.hpp"

#include <memory>
#include <stdexcept>

namespace vantrel::cli {
namespace {

void addAreaCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* area = app.add_subcommand("area", "Areas: add, rename, color, hide, show, reorder, delete, list")
                   ->require_subcommand(1);
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
  auto* recolor = area->add_subcommand("color", "Change an area's colour");
  recolor->add_option("area color", *values)->required()->expected(2);
  recolor->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setAreaColor(values->at(0), values->at(1));
    });
  });
  auto* reorder = area->add_subcommand("reorder", "Put an area's projects and headers in the given order");
  reorder->add_option("area items", *values)->required()->expected(2, -1);
  reorder->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      std::vector<AreaItemKey> order;
      for (auto item = values->begin() + 1; item != values->end(); ++item) {
        order.push_back(store.cache().areaSections().contains(*item) ? AreaItemKey::section(*item)
                                                                     : AreaItemKey::project(*item));
      }
      store.reorderAreaProjects(values->at(0), order);
    });
  });
  auto* reorderTasks = area->add_subcommand("reorder-tasks", "Put an area's own tasks in the given order");
  reorderTasks->add_option("area tasks", *values)->required()->expected(2, -1);
  reorderTasks->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      const std::vector<std::string> order(values->begin() + 1, values->end());
      store.reorderAreaTasks(values->at(0), order);
    });
  });
  auto* remove = area->add_subcommand("delete", "Delete an empty area");
  remove->add_option("area", *values)->required()->expected(1);
  remove->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) { store.deleteArea(values->at(0)); });
  });
  area->add_subcommand("list", "List the areas")->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      for (const auto* record : sorted(store.cache().areas())) {
        std::cout << terminalText(record->recordName) << "  " << terminalText(record->name)
                  << (record->isHidden ? "  (hidden)" : "") << "\n";
      }
    });
  });
}

void addProjectCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto* project =
      app.add_subcommand(
             "project",
             "Projects: add, rename, purpose, due, archive, activate, pin, unpin, reorder, delete, list")
          ->require_subcommand(1);
  auto values = std::make_shared<std::vector<std::string>>();
  auto area = std::make_shared<std::string>();
  auto purpose = std::make_shared<std::optional<std::string>>();
  auto belowHeader = std::make_shared<std::string>();

  auto* add = project->add_subcommand("add", "Add a project to an area; prints its record name");
  add->add_option("name", *values)->required()->expected(1);
  auto* inArea = add->add_option("--area", *area, "The area to file it in, after its last item");
  auto* purposeOption = add->add_option("--purpose", *purpose, "What the project is for");
  add->add_option("--below-header", *belowHeader, "File it directly under this area header")
      ->excludes(inArea)
      ->excludes(purposeOption);
  add->callback([=] {
    if (area->empty() == belowHeader->empty()) {
      throw std::invalid_argument("project add needs --area or --below-header");
    }
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      const auto name = area->empty() ? store.addProjectBelowHeader(*belowHeader, values->at(0))
                                      : store.addProject(values->at(0), *area, *purpose);
      printAdded(environment, store.cache().projects(), name);
    });
  });
  auto* describe = project->add_subcommand("purpose", "Set what a project is for; without text, clear it");
  describe->add_option("project purpose", *values)->required()->expected(1, 2);
  describe->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setProjectPurpose(values->at(0),
                              values->size() > 1 ? std::optional(values->at(1)) : std::nullopt);
    });
  });
  auto* due = project->add_subcommand("due", "Set a project's deadline: a day, an instant, or none");
  due->add_option("project due", *values)->required()->expected(2);
  due->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.setProjectDueDate(values->at(0), parseDue(values->at(1)));
    });
  });
  auto* reorder = project->add_subcommand("reorder", "Put a project's tasks and headers in the given order");
  reorder->add_option("project items", *values)->required()->expected(2, -1);
  reorder->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      std::vector<ProjectItemKey> order;
      for (auto item = values->begin() + 1; item != values->end(); ++item) {
        order.push_back(store.cache().projectSections().contains(*item) ? ProjectItemKey::section(*item)
                                                                        : ProjectItemKey::task(*item));
      }
      store.reorderProject(values->at(0), order);
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
        std::cout << terminalText(record->recordName) << "  " << terminalText(record->name)
                  << (record->isArchived() ? "  (archived)" : "") << "\n";
      }
    });
  });
}

} // namespace

void addPlannerCommands(CLI::App& app, const GlobalOptions& options) {
  auto context = std::make_shared<PlannerContext>(PlannerContext{.options = options, .app = app});
  app.add_flag("--offline", context->offline, "Change the planner without sending the change");
  addAreaCommands(app, context);
  addProjectCommands(app, context);
  addTaskCommands(app, context);
  addDayCommands(app, context);
  addStatusCommand(app, context);
  addReminderCommands(app, context);
  addCalendarCommands(app, context);
  addDemoCommand(app, context);
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
