#pragma once

#include "Tools/vantrel/Output.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/FileSystem.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

namespace vantrel::cli {

/// The options every command understands, as given on the command line.
struct GlobalOptions {
  std::optional<std::string> profile;
  std::optional<std::string> now;
  std::optional<std::string> timeZone;
  std::optional<std::string> locale;
  std::optional<std::string> cloud;
  bool json = false;
  bool quiet = false;
  std::string color = "auto";
  /// Where every file of the run is read and written, and where it prints; not options (the program gives
  /// the real ones).
  FileSystem* fileSystem = nullptr;
  std::ostream* out = nullptr;
  std::ostream* err = nullptr;

  void addTo(CLI::App& app);
};

/// What a command runs in once the global options are applied: the clock (`--now` fixes it), the device
/// zone (`--tz`), where the profile's files live (`--profile`, VANTREL_HOME or the XDG folders) and the
/// output (`--json`, `--quiet`, `--color`).
class CommandEnvironment {
public:
  /// Applies `--tz` to the process and reads `--now`; throws std::invalid_argument with the user's text.
  /// A `--cloud` file must be in a folder that exists: a mistyped path would otherwise start a new, empty
  /// account.
  static CommandEnvironment make(const GlobalOptions& options);

  const Clock& clock() const { return *clock_; }
  /// The day it is on the device's clock and in its zone.
  CalendarDate today() const;
  Output& output() const { return *output_; }
  const VantrelPaths& paths() const { return paths_; }
  /// The cloud database file: `--cloud PATH`, else the profile's.
  const std::filesystem::path& cloudDatabaseFile() const { return cloudDatabaseFile_; }
  bool json() const { return output_->json(); }
  FileSystem& fileSystem() const { return fileSystem_; }

private:
  CommandEnvironment(std::unique_ptr<Clock> clock, VantrelPaths paths,
                     std::filesystem::path cloudDatabaseFile, std::unique_ptr<Output> output,
                     FileSystem& fileSystem);

  std::unique_ptr<Clock> clock_;
  VantrelPaths paths_;
  std::filesystem::path cloudDatabaseFile_;
  std::unique_ptr<Output> output_;
  FileSystem& fileSystem_;
};

} // namespace vantrel::cli
