#include "Tools/vantrel/OpenCommand.hpp"

#include "Tools/vantrel/ReminderSchedule.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Widget/AppRoute.hpp"
#include "VantrelCore/Widget/DeepLinkRouter.hpp"
#include "VantrelCore/Widget/GapWidgetData.hpp"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

namespace vantrel::cli {
namespace {

/// Whether today's gaps, as the planner last saved them for the widget, hold `gap`: by record name or by
/// time.
bool gapExistsToday(const CommandEnvironment& environment, const std::string& gap) {
  const auto snapshot =
      environment.fileSystem().readFile(environment.paths().sharedDirectory() / "cache-snapshot.json");
  if (!snapshot) {
    return false;
  }
  const auto data = GapWidgetData::read(*snapshot, environment.today());
  return std::ranges::any_of(data.records.gaps,
                             [&](const GapRecord& record) { return record.recordName == gap; });
}

} // namespace

void addOpenCommand(CLI::App& app, const GlobalOptions& options) {
  auto url = std::make_shared<std::string>();
  auto* open =
      app.add_subcommand("open", "Route a link such as vantrel://today?gap=g-abc123 and show the screen");
  open->add_option("url", *url, "The link")->required();
  open->callback([&options, url] {
    const auto environment = CommandEnvironment::make(options);
    // A fresh router, as at the planner's start: the token reads 1 after the one link.
    DeepLinkRouter router;
    if (!router.handle(*url)) {
      throw std::invalid_argument("not a Vantrel link: " + *url);
    }
    const auto& gap = router.pendingFocusGapID();
    if (gap && !gapExistsToday(environment, *gap)) {
      throw std::invalid_argument("no gap '" + *gap + "' today; see vantrel gap list");
    }
    // Today is on screen now: the reminders shown so far have been seen.
    markRemindersSeen(environment);
    auto& output = environment.output();
    if (!output.json()) {
      output.text() << (gap ? "Today, focused on gap " + terminalText(*gap) : std::string("Today")) << "\n";
      return;
    }
    JSONWriter json;
    json.startObject();
    // Every link the router accepts opens Today; the route is written as window restoration keeps it.
    json.key("route");
    AppRoute::today().encodeJSON(json);
    json.key("todayRequestToken");
    json.int64(router.todayRequestToken());
    json.key("pendingFocusGapID");
    if (gap) {
      json.string(*gap);
    } else {
      json.null();
    }
    json.endObject();
    output.print(json);
  });
}

} // namespace vantrel::cli
