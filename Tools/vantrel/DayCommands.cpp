#include "Tools/vantrel/DayCommands.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <utility>

namespace vantrel::cli {
namespace {

void addInboxCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto values = std::make_shared<std::vector<std::string>>();
  auto notes = std::make_shared<std::optional<std::string>>();
  auto area = std::make_shared<std::string>();
  auto project = std::make_shared<std::optional<std::string>>();
  auto note = std::make_shared<bool>(false);
  auto name = std::make_shared<std::optional<std::string>>();

  auto* inbox = app.add_subcommand("inbox", "Inbox: add, triage, delete, list")->require_subcommand(1);
  auto* add = inbox->add_subcommand("add", "Capture an item; prints its record name");
  add->add_option("title", *values)->required()->expected(1);
  add->add_option("--notes", *notes, "Body text");
  add->add_option("--name", *name, "The record name to give it");
  add->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().inbox(),
                 store.addInboxItem(values->at(0), *notes, environment.clock().now(), *name));
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
        std::cout << terminalText(record->recordName) << "  " << terminalText(record->title) << "\n";
      }
    });
  });
}

void addGapCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto values = std::make_shared<std::vector<std::string>>();
  auto label = std::make_shared<std::optional<std::string>>();
  auto reminder = std::make_shared<bool>(false);
  auto anyday = std::make_shared<bool>(false);
  auto name = std::make_shared<std::optional<std::string>>();
  auto time = std::make_shared<std::optional<std::string>>();
  auto noLabel = std::make_shared<bool>(false);
  auto remind = std::make_shared<std::optional<bool>>();

  auto* gap = app.add_subcommand("gap", "Gaps: add, edit, copy, delete, list")->require_subcommand(1);
  auto* addGap = gap->add_subcommand("add", "Add a gap on a day at a time; prints its record name");
  addGap->add_option("day time", *values)->required()->expected(2);
  addGap->add_option("--label", *label);
  addGap->add_flag("--reminder", *reminder, "Notify at its start");
  addGap->add_option("--name", *name, "The record name to give it");
  addGap->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment& environment) {
      printAdded(environment, store.cache().gaps(),
                 store.addGap(parseDay(values->at(0)), values->at(1), *label, *reminder, *name));
    });
  });
  auto* edit = gap->add_subcommand("edit", "Change a gap's time, label or reminder; its tasks move with it");
  edit->add_option("gap", *values)->required()->expected(1);
  edit->add_option("--time", *time, "The new start time, HH:MM");
  auto* newLabel = edit->add_option("--label", *label, "The new label");
  edit->add_flag("--no-label", *noLabel, "Remove the label")->excludes(newLabel);
  edit->add_option("--reminder", *remind, "Notify at its start: true or false");
  edit->callback([=] {
    std::optional<std::optional<std::string>> labelChange;
    if (*noLabel) {
      labelChange.emplace(std::nullopt);
    } else if (*label) {
      labelChange = *label;
    }
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      store.updateGap(values->at(0), *time, labelChange, *remind);
    });
  });
  auto* copy = gap->add_subcommand("copy", "Copy a gap onto other days; prints the new gaps' names");
  copy->add_option("gap days", *values)->required()->expected(2, -1);
  copy->callback([=] {
    context->run([&](CloudKitStore& store, const CommandEnvironment&) {
      const auto found = store.cache().gaps().find(values->at(0));
      if (found == store.cache().gaps().end()) {
        throw CloudKitStoreError::recordNotFound(CKRecordTypes::gap, values->at(0));
      }
      std::vector<std::pair<CalendarDate, GapRecord>> copies;
      for (auto day = values->begin() + 1; day != values->end(); ++day) {
        copies.emplace_back(parseDay(*day), found->second);
      }
      for (const auto& copied : store.copyGaps(copies)) {
        std::cout << terminalText(copied) << "\n";
      }
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
          std::cout << terminalText(record->recordName) << "  " << terminalText(record->time) << "  "
                    << terminalText(record->label.value_or("")) << "\n";
        }
      }
    });
  });
}

} // namespace

void addDayCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  addInboxCommands(app, context);
  addGapCommands(app, context);
}

} // namespace vantrel::cli
