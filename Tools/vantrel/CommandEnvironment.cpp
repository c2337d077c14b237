#include "Tools/vantrel/CommandEnvironment.hpp"

#include "Linux/PosixFileSystem.hpp"
#include "Tools/vantrel/InstantArgument.hpp"
#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"

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
  app.add_option("--cloud", cloud,
                 "Use this SQLite file as the cloud database; profiles that share one act as devices of one "
                 "account (default: cloud.sqlite in the profile)")
      ->option_text("PATH");
  app.add_flag("--json", json, "Print stable JSON instead of text for people");
}

CommandEnvironment::CommandEnvironment(std::unique_ptr<Clock> clock, VantrelPaths paths,
                                       std::filesystem::path cloudDatabaseFile, bool json,
                                       FileSystem& fileSystem)
    : clock_(std::move(clock)), paths_(std::move(paths)), cloudDatabaseFile_(std::move(cloudDatabaseFile)),
      json_(json), fileSystem_(fileSystem) {}

CommandEnvironment CommandEnvironment::make(const GlobalOptions& options) {
  if (options.timeZone) {
    DeviceSettings::setTimeZone(*options.timeZone);
  } else {
    DeviceSettings::adoptHostTimeZone();
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
  auto cloudFile = options.cloud ? std::filesystem::absolute(*options.cloud) : paths.cloudDatabaseFile;
  return CommandEnvironment(std::move(clock), std::move(paths), std::move(cloudFile), options.json,
                            options.fileSystem ? *options.fileSystem : PosixFileSystem::shared());
}

} // namespace vantrel::cli
