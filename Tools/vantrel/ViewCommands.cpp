#include "Tools/vantrel/ViewCommands.hpp"

#include "Tools/vantrel/Arguments.hpp"
#include "Tools/vantrel/CommandArguments.hpp"
#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/RecordReport.hpp"
#include "VantrelCore/Store/PlannerQueries.hpp"

namespace vantrel::cli {
namespace {

std::string_view kindName(PlannerQueries::Match::Kind kind) {
  switch (kind) {
  case PlannerQueries::Match::Kind::area:
    return "area";
  case PlannerQueries::Match::Kind::project:
    return "project";
  case PlannerQueries::Match::Kind::task:
    return "task";
  case PlannerQueries::Match::Kind::inboxItem:
    break;
  }
  return "inbox";
}

void addDueCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto days = std::make_shared<int>(7);
  auto* due = app.add_subcommand("due", "Show what is overdue and what is due in the coming days");
  due->add_option("--days", *days, "How many days ahead, today included (default: 7)")
      ->check(CLI::Range(1, 3660))
      ->option_text("N");
  due->callback([=] {
    context->view([=](PlannerRun& run) {
      const auto now = run.environment.clock().now();
      const auto until = run.today.adding(*days).localTime(0).value_or(now);
      const auto deadlines = PlannerQueries::deadlinesBefore(run.cache(), until);
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto& deadline : deadlines) {
          json.startObject();
          json.key("recordName");
          json.string(deadline.recordName);
          json.key("kind");
          json.string(deadline.isProject ? "project" : "task");
          json.key("title");
          json.string(deadline.title);
          json.key("due");
          RecordReport::instant(json, deadline.due);
          json.key("overdue");
          json.boolean(deadline.due < now);
          json.endObject();
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto& deadline : deadlines) {
        const bool overdue = deadline.due < now;
        table.row().cell(overdue ? "overdue"
                                 : LocalFormat::shortDay(CalendarDate::localDayOf(deadline.due), run.today),
                         overdue ? TextTone::overdue : TextTone::plain);
        table.cell((deadline.isProject ? "project " : "") + deadline.title)
            .cell(deadline.recordName, TextTone::dim);
      }
      if (table.empty()) {
        run.output.text() << "Nothing is due in the next " << *days << (*days == 1 ? " day" : " days")
                          << ".\n";
      }
      run.output.print(table);
    });
  });
}

void addSearchCommand(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  auto words = std::make_shared<std::string>();
  auto* search = app.add_subcommand("search", "Find areas, projects, tasks and inbox items by their words");
  argument(*search, "words", *words,
           "Words of a title, a project's purpose or an inbox item's notes, any case");
  search->callback([=] {
    context->view([=](PlannerRun& run) {
      const auto matches = PlannerQueries::search(run.cache(), parseTitle(*words, "WORDS"));
      if (run.output.json()) {
        JSONWriter json;
        json.startArray();
        for (const auto& match : matches) {
          json.startObject();
          json.key("kind");
          json.string(kindName(match.kind));
          json.key("recordName");
          json.string(match.recordName);
          json.key("title");
          json.string(match.title);
          json.key("field");
          json.string(match.field);
          json.endObject();
        }
        json.endArray();
        return run.output.print(json);
      }
      TextTable table;
      for (const auto& match : matches) {
        table.row().cell(kindName(match.kind), TextTone::dim).cell(match.title);
        table.cell(match.field == "title" ? "" : "in its " + match.field, TextTone::dim);
        table.cell(match.recordName, TextTone::dim);
      }
      if (table.empty()) {
        run.output.text() << "Nothing holds " << inQuotes(*words) << ".\n";
      }
      run.output.print(table);
    });
  });
}

} // namespace

void addViewCommands(CLI::App& app, const std::shared_ptr<PlannerContext>& context) {
  addDueCommand(app, context);
  addSearchCommand(app, context);
}

} // namespace vantrel::cli
