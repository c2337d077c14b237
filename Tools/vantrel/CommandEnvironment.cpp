#include "Tools/vantrel/CommandEnvironment.hpp"

#include "Linux/PosixFileSystem.hpp"
#include "Tools/vantrel/InstantArgument.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"

#include <iostream>

namespace vantrel::cli {

void GlobalOptions::addTo(CLI::App& app) {
  app.add_option("--profile", profile,
                 "Keep every file of this run under DIR (default: $VANTREL_HOME, else the XDG folders)")
      ->option_text("DIR");
  app.add_option("--now", now,
                 "Run as if it were this instant: YYYY-MM-DDTHH:MM[:SS] with optional Z or ±HH:MM")
      ->option_text("TIME");
  app.add_option("--tz", timeZone,
                 "Use this zone of the tz database as the device zone, e.g. Europe/Berlin (default: TZ, "
                 "then /etc/localtime)")
      ->option_text("ZONE");
  app.add_option("--locale", locale,
                 "Write days and times as this locale does, e.g. fr_FR (default: LC_ALL, LC_TIME, LANG)")
      ->option_text("ID");
  app.add_option("--cloud", cloud,
                 "Use this SQLite file as the cloud database; profiles that share one act as devices of one "
                 "account (default: cloud.sqlite in the profile)")
      ->option_text("PATH");
  app.add_flag("--json", json, "Print stable JSON instead of text for people");
  app.add_flag("-q,--quiet", quiet, "Do not print the line that says what a change did");
  app.add_option("--color", color,
                 "Colour the text: auto (on a terminal, unless NO_COLOR is set), always, never")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->option_text("WHEN");
}

CommandEnvironment::CommandEnvironment(std::unique_ptr<Clock> clock, VantrelPaths paths,
                                       std::filesystem::path cloudDatabaseFile,
                                       std::unique_ptr<Output> output, FileSystem& fileSystem)
    : clock_(std::move(clock)), paths_(std::move(paths)), cloudDatabaseFile_(std::move(cloudDatabaseFile)),
      output_(std::move(output)), fileSystem_(fileSystem) {}

CalendarDate CommandEnvironment::today() const {
  return CalendarDate::today(*DeviceSettings::timeZone(), *clock_);
}

CommandEnvironment CommandEnvironment::make(const GlobalOptions& options) {
  if (options.timeZone) {
    DeviceSettings::setTimeZone(*options.timeZone);
  } else {
    DeviceSettings::adoptHostTimeZone();
  }
  if (options.locale) {
    DeviceSettings::setLocale(*options.locale);
  }
  // --now is read after --tz, so a wall time without an offset means that zone's wall time.
  std::unique_ptr<Clock> clock;
  if (options.now) {
    clock = std::make_unique<FixedClock>(parseInstantArgument(*options.now));
  } else {
    clock = std::make_unique<SystemClock>();
  }
  auto paths = VantrelPaths::resolve(options.profile ? std::optional<std::filesystem::path>(*options.profile)
                                                     : std::nullopt);
  auto& fileSystem = options.fileSystem ? *options.fileSystem : PosixFileSystem::shared();
  auto cloudFile = options.cloud ? std::filesystem::absolute(*options.cloud) : paths.cloudDatabaseFile;
  if (options.cloud && !fileSystem.exists(cloudFile.parent_path())) {
    throw std::invalid_argument("invalid --cloud '" + *options.cloud + "': the folder " +
                                cloudFile.parent_path().string() + " does not exist");
  }
  auto& out = options.out ? *options.out : std::cout;
  auto& err = options.err ? *options.err : std::cerr;
  const bool color = options.color == "always" || (options.color == "auto" && Output::colorByDefault(out));
  auto output = std::make_unique<Output>(
      out, err, OutputStyle{.json = options.json, .color = color, .quiet = options.quiet});
  return CommandEnvironment(std::move(clock), std::move(paths), std::move(cloudFile), std::move(output),
                            fileSystem);
}

} // namespace vantrel::cli
