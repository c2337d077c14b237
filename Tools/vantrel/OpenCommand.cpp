#include "Tools/vantrel/OpenCommand.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Widget/AppRoute.hpp"
#include "VantrelCore/Widget/DeepLinkRouter.hpp"

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace vantrel::cli {

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
    if (!environment.json()) {
      std::cout << (gap ? "Today, focused on gap " + terminalText(*gap) : std::string("Today")) << "\n";
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
    std::cout << json.text() << "\n";
  });
}

} // namespace vantrel::cli
