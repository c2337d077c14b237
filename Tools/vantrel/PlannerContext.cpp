#include "Tools/vantrel/PlannerContext.hpp"

#include "Tools/vantrel/InstantArgument.hpp"
#include "Tools/vantrel/StoreSession.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"

#include <stdexcept>

namespace vantrel::cli {

void PlannerContext::run(const std::function<void(CloudKitStore&, const CommandEnvironment&)>& change) const {
  const auto environment = CommandEnvironment::make(options);
  StoreSession session(environment);
  try {
    change(session.store(), environment);
  } catch (const CloudKitStoreError& error) {
    if (error.kind() == CloudKitStoreError::Kind::areaNotEmpty) {
      throw std::runtime_error("Move or delete the projects and tasks inside this area first.");
    }
    throw;
  }
  session.finish(offline);
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
