#include "Tools/vantrel/AboutCommand.hpp"

#include "Tools/vantrel/LocalFormat.hpp"
#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <iomanip>

namespace vantrel::cli {

void runAboutCommand(const CommandEnvironment& environment) {
  auto& out = environment.output().text();
  const Date now = environment.clock().now();
  const auto today = CalendarDate::today(*DeviceSettings::timeZone(), environment.clock());
  const auto& paths = environment.paths();
  if (environment.json()) {
    JSONWriter json;
    json.startObject();
    json.key("version");
    json.string(VANTREL_VERSION);
    json.key("now");
    json.string(TimeFormat::iso8601(now));
    json.key("today");
    json.string(today.description());
    json.key("timeZone");
    json.string(DeviceSettings::timeZoneID());
    json.key("locale");
    json.string(DeviceSettings::localeID());
    json.key("applicationSupportDirectory");
    json.string(paths.applicationSupportDirectory.string());
    json.key("appGroupContainerDirectory");
    json.string(paths.appGroupContainerDirectory.string());
    json.key("standardPreferencesFile");
    json.string(paths.standardPreferencesFile.string());
    json.key("sharedPreferencesFile");
    json.string(paths.sharedPreferencesFile.string());
    json.endObject();
    environment.output().print(json);
    return;
  }
  const auto line = [&](const char* label, const std::string& value) {
    out << std::left << std::setw(22) << label << terminalText(value) << "\n";
  };
  out << "vantrel " << VANTREL_VERSION << "\n";
  line("now", LocalFormat::instant(now));
  line("today", today.description() + " (" + LocalFormat::longDay(today) + ")");
  line("time zone", DeviceSettings::timeZoneID());
  line("locale", DeviceSettings::localeID());
  line("application support", paths.applicationSupportDirectory.string());
  line("app group container", paths.appGroupContainerDirectory.string());
  line("preferences", paths.standardPreferencesFile.string());
  line("shared preferences", paths.sharedPreferencesFile.string());
}

} // namespace vantrel::cli
