#include "Tools/vantrel/PlannerContext.hpp"

#include "Tools/vantrel/InstantArgument.hpp"
#include "Tools/vantrel/StoreSession.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CloudError.hpp"

#include <stdexcept>

namespace vantrel::cli {

void PlannerContext::run(const Step& change, const Step& report) const {
  const auto environment = CommandEnvironment::make(options);
  StoreSession session(environment);
  CloudKitStore& store = session.store();
  const auto refused = [&](const std::exception& error) {
    store.reportUIWriteFailure(commandName(), error);
    // A refused change wrote nothing; finishing keeps the banner for `vantrel status`.
    session.finish(true);
    throw std::runtime_error(store.lastUIError()->summary);
  };
  try {
    change(store, environment);
  } catch (const CloudKitStoreError& error) {
    refused(error);
  } catch (const CloudError& error) {
    refused(error);
  }
  if (const auto banner = session.finish(offline)) {
    std::cerr << "vantrel: " << *banner << "\n";
  }
  if (report) {
    report(store, environment);
  }
}

std::string PlannerContext::commandName() const {
  std::string name;
  for (const CLI::App* command = &app; !command->get_subcommands().empty();) {
    command = command->get_subcommands().front();
    name += (name.empty() ? "" : " ") + command->get_name();
  }
  return name;
}

CalendarDate parseDay(const std::string& text) {
  if (const auto day = CalendarDate::parse(text)) {
    return *day;
  }
  throw std::invalid_argument("invalid day '" + text + "': expected YYYY-MM-DD");
}

std::optional<CalendarDate> parseDayOrNone(const std::string& text) {
  return text == "none" ? std::nullopt : std::optional(parseDay(text));
}

std::optional<Date> parseDue(const std::string& text) {
  if (text == "none") {
    return std::nullopt;
  }
  if (text.find('T') == std::string::npos && text.find(' ') == std::string::npos) {
    return parseDay(text).localNoon();
  }
  return parseInstantArgument(text);
}

} // namespace vantrel::cli
