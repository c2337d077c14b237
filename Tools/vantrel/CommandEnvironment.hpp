#pragma once

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
  std::optional<std::string> cloud;
  bool json = false;
  /// Where every file of the run is read and written; not an option (the program gives the real one).
  FileSystem* fileSystem = nullptr;

  void addTo(CLI::App& app);
};

/// What a command runs in once the global options are applied: the clock (`--now` fixes it), the device
/// zone (`--tz`), where the profile's files live (`--profile`, VANTREL_HOME or the XDG folders) and the
/// output form (`--json`).
class CommandEnvironment {
public:
  /// Applies `--tz` to the process and reads `--now`; throws std::invalid_argument with the user's text.
  static CommandEnvironment make(const GlobalOptions& options);

  const Clock& clock() const { return *clock_; }
  const VantrelPaths& paths() const { return paths_; }
  /// The cloud database file: `--cloud PATH`, else the profile's.
  const std::filesystem::path& cloudDatabaseFile() const { return cloudDatabaseFile_; }
  bool json() const { return json_; }
  FileSystem& fileSystem() const { return fileSystem_; }

private:
  CommandEnvironment(std::unique_ptr<Clock> clock, VantrelPaths paths,
                     std::filesystem::path cloudDatabaseFile, bool json, FileSystem& fileSystem);

  std::unique_ptr<Clock> clock_;
  VantrelPaths paths_;
  std::filesystem::path cloudDatabaseFile_;
  bool json_;
  FileSystem& fileSystem_;
};

} // namespace vantrel::cli
