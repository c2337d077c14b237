#include "Tools/vantrel/DayCommands.hpp"

#include "Tools/vantrel/Arguments.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"

#include <utility>

namespace vantrel::cli {
namespace {

const std::string inboxItemHelp = "The item: its title, the start of it, or its record name";
const std::string gapHelp = "The gap: its time (9:00) or label on the day, or its record name";

void addInboxCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string item;
    std::string title;
    std::optional<std::string> notes;
    std::string area;
    std::optional<std::string> project;
    bool note = false;
    std::optional<std::string> name;
  };
  auto given = std::make_shared<Given>();
  auto* inbox = app.add_subcommand("inbox", "Inbox: add, triage, delete, list")->require_subcommand(1);

  auto* add = inbox->add_subcommand("add", "Capture an item");
  argument(*add, "title", given->title, "The item's title");
  add->add_option("--notes", given->notes, "Body text");
  add->add_option("--name", given->name, "The record name to give it");
  add->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto name = run.store.addInboxItem(parseTitle(given->title, "TITLE"), given->notes,
                                               run.environment.clock().now(), given->name);
      const auto& item = run.cache().inbox().at(name);
      if (run.output.json()) {
        JSONWriter json;
        RecordReport(run.cache()).inboxItem(json, item);
        return run.output.print(json);
      }
      run.output.changed("Captured " + inQuotes(item.title) + " in the inbox (" + name + ")");
    });
  });

  auto* triage = inbox->add_subcommand("triage", "Turn an item into a task of an area or project");
  argument(*triage, "item", given->item, inboxItemHelp);
  triage->add_option("--area", given->area, "The area the task goes to")->required();
  triage->add_option("--project", given->project, "The project of that area the task goes to");
  triage->add_flag("--note", given->note, "Also note the item at the end of the project's purpose");
  triage->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto item = run.find.inboxItem(given->item);
      const auto project = given->project ? std::optional(run.find.project(*given->project)) : std::nullopt;
      const auto name = run.store.triageInboxItem(item, run.find.area(given->area), project, given->note);
      const auto& task = run.cache().tasks().at(name);
      if (run.output.json()) {
        JSONWriter json;
        RecordReport(run.cache()).task(json, task);
        return run.output.print(json);
      }
      run.output.changed("Filed " + inQuotes(task.title) + " under " +
                         inQuotes(RecordReport(run.cache()).homeName(task)) + " (" + name + ")");
    });
  });

  auto* remove = inbox->add_subcommand("delete", "Delete an item");
  argument(*remove, "item", given->item, inboxItemHelp);
  remove->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto item = run.find.inboxItem(given->item);
      const auto title = run.cache().inbox().at(item).title;
      run.store.deleteInboxItem(item);
      run.output.changed("Deleted " + inQuotes(title) + " from the inbox");
    });
  });

  inbox->add_subcommand("list", "List the inbox")->callback([=] {
    context->view([](PlannerRun& run) {
      const auto items = inListOrder(run.cache().inbox());
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto* item : items) {
          RecordReport(run.cache()).inboxItem(json, *item);
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto* item : items) {
        table.row()
            .cell(item->title)
            .cell(LocalFormat::shortDay(CalendarDate::localDayOf(item->capturedAt), run.today),
                  TextTone::dim);
        table.cell(item->recordName, TextTone::dim);
      }
      if (table.empty()) {
        run.output.text() << "The inbox is empty.\n";
      }
      run.output.print(table);
    });
  });
}

std::string gapText(const GapRecord& gap) {
  return LocalFormat::timeOfDay(gap.time) + (gap.label ? " " + inQuotes(*gap.label) : "");
}

void addGapCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  struct Given {
    std::string gap;
    std::string day;
    std::string time;
    std::vector<std::string> days;
    std::optional<std::string> label;
    bool reminder = false;
    bool anyday = false;
    bool noLabel = false;
    std::optional<std::string> name;
    std::optional<std::string> newTime;
    std::optional<std::string> remind;
    std::string on;
  };
  auto given = std::make_shared<Given>();
  auto* gap = app.add_subcommand("gap", "Gaps: add, edit, copy, delete, list")->require_subcommand(1);
  const auto onDay = [=](CLI::App& command) {
    command.add_option("--on", given->on, "The day of the gap named by time or label (default: today)");
  };
  const auto findGap = [=](PlannerRun& run) -> const GapRecord& {
    // A record name is one gap whatever its day; a time or a label is looked for on the day.
    if (const auto* named = run.find.gapNamed(given->gap); named && given->on.empty()) {
      return *named;
    }
    return run.find.gap(given->gap, given->on.empty() ? run.today : parseDay(given->on, "--on", run.today));
  };

  auto* add = gap->add_subcommand("add", "Add a gap on a day at a time");
  argument(*add, "day", given->day, "YYYY-MM-DD, today or tomorrow");
  argument(*add, "time", given->time, "Its start, H:MM or HH:MM on the 24-hour clock");
  add->add_option("--label", given->label, "What the gap is for");
  add->add_flag("--reminder", given->reminder, "Notify at its start");
  add->add_option("--name", given->name, "The record name to give it");
  add->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto day = parseDay(given->day, "DAY", run.today);
      const auto time = parseTimeOfDay(given->time, "TIME");
      const auto label = given->label ? std::optional(parseTitle(*given->label, "--label")) : std::nullopt;
      const auto name = run.store.addGap(day, time, label, given->reminder, given->name);
      const auto& record = run.cache().gaps().at(name);
      if (run.output.json()) {
        JSONWriter json;
        RecordReport(run.cache()).gap(json, record);
        return run.output.print(json);
      }
      run.output.changed("Added gap " + gapText(record) + " on " + LocalFormat::shortDay(day, run.today) +
                         " (" + name + ")");
    });
  });

  auto* edit = gap->add_subcommand("edit", "Change a gap's time, label or reminder; its tasks move with it");
  argument(*edit, "gap", given->gap, gapHelp);
  onDay(*edit);
  edit->add_option("--time", given->newTime, "The new start, H:MM or HH:MM");
  auto* newLabel = edit->add_option("--label", given->label, "The new label");
  edit->add_flag("--no-label", given->noLabel, "Remove the label")->excludes(newLabel);
  edit->add_option("--reminder", given->remind, "Notify at its start: true or false");
  edit->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto& found = findGap(run);
      const auto name = found.recordName;
      const auto time =
          given->newTime ? std::optional(parseTimeOfDay(*given->newTime, "--time")) : std::nullopt;
      std::optional<std::optional<std::string>> label;
      if (given->noLabel) {
        label.emplace(std::nullopt);
      } else if (given->label) {
        label.emplace(parseTitle(*given->label, "--label"));
      }
      const auto reminder =
          given->remind ? std::optional(parseBoolean(*given->remind, "--reminder")) : std::nullopt;
      run.store.updateGap(name, time, label, reminder);
      run.output.changed("Gap " + gapText(run.cache().gaps().at(name)) + " on " +
                         run.cache().gaps().at(name).dayRef + " changed");
    });
  });

  auto* copy = gap->add_subcommand("copy", "Copy a gap onto other days");
  argument(*copy, "gap", given->gap, gapHelp);
  argument(*copy, "days", given->days, "The days to copy it onto: YYYY-MM-DD, today or tomorrow");
  onDay(*copy);
  copy->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto found = findGap(run);
      std::vector<std::pair<CalendarDate, GapRecord>> copies;
      for (const auto& day : given->days) {
        copies.emplace_back(parseDay(day, "DAYS", run.today), found);
      }
      const auto names = run.store.copyGaps(copies);
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto& name : names) {
          RecordReport(run.cache()).gap(json, run.cache().gaps().at(name));
        }
        json.endArray();
        return run.output.print(json);
      }
      for (const auto& name : names) {
        run.output.changed("Copied gap " + gapText(found) + " to " + run.cache().gaps().at(name).dayRef +
                           " (" + name + ")");
      }
    });
  });

  auto* remove = gap->add_subcommand("delete", "Delete a gap; its tasks stay on the day unless --anyday");
  argument(*remove, "gap", given->gap, gapHelp);
  onDay(*remove);
  remove->add_flag("--anyday", given->anyday, "Return its tasks to Anyday");
  remove->callback([=] {
    context->run([=](PlannerRun& run) {
      const auto found = findGap(run);
      run.store.deleteGap(found.recordName,
                          given->anyday ? GapTasksOnDelete::returnToAnyday : GapTasksOnDelete::keepOnDay);
      run.output.changed("Deleted gap " + gapText(found) + " on " + found.dayRef);
    });
  });

  auto* list = gap->add_subcommand("list", "List a day's gaps in time order");
  optionalArgument(*list, "day", given->day, "YYYY-MM-DD, today or tomorrow (default: today)");
  list->callback([=] {
    context->view([=](PlannerRun& run) {
      const auto day = given->day.empty() ? run.today : parseDay(given->day, "DAY", run.today);
      const auto gaps = GapScheduling::gaps(day.description(), run.cache().gaps());
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto& record : gaps) {
          RecordReport(run.cache()).gap(json, record);
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto& record : gaps) {
        table.row().cell(LocalFormat::timeOfDay(record.time)).cell(record.label.value_or(""));
        table.cell(record.reminder ? "🔔" : "").cell(record.recordName, TextTone::dim);
      }
      if (table.empty()) {
        run.output.text() << "No gaps on " << LocalFormat::shortDay(day, run.today) << ".\n";
      }
      run.output.print(table);
    });
  });
}

} // namespace

void addDayCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  addInboxCommands(app, context);
  addGapCommands(app, context);
}

} // namespace vantrel::cli
