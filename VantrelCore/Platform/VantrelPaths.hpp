#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// Where the system's files live: the Application Support folder, the app-group container the widget
/// shares, and the two preference files.
///
/// With a profile folder (`--profile DIR`, else VANTREL_HOME) everything lives under it; otherwise the XDG
/// data and config folders are used. Only computes paths; creates nothing.
struct VantrelPaths {
  static constexpr std::string_view appGroupIdentifier = "group.com.vantrel.vantrel.gen1";

  using Environment = std::function<std::optional<std::string>(std::string_view name)>;

  std::filesystem::path applicationSupportDirectory;
  std::filesystem::path appGroupContainerDirectory;
  std::filesystem::path standardPreferencesFile;
  std::filesystem::path sharedPreferencesFile;
  /// The embedded cloud database: "cloud.sqlite" in the profile folder, or in Application Support's
  /// "Vantrel" folder. Profiles that name one file act as devices of one account.
  std::filesystem::path cloudDatabaseFile;

  /// The folder in the app-group container where the planner leaves what the widget reads (the cache
  /// snapshot, the intent queue).
  std::filesystem::path sharedDirectory() const { return appGroupContainerDirectory / "Vantrel"; }

  /// A relative profile is taken from the current folder. Throws std::runtime_error "cannot find a home
  /// folder: set HOME, XDG_DATA_HOME or use --profile" when there is neither a profile nor a home.
  static VantrelPaths resolve(const std::optional<std::filesystem::path>& profile,
                              const Environment& environment);
  /// As above, reading the process environment.
  static VantrelPaths resolve(const std::optional<std::filesystem::path>& profile = std::nullopt);
};

} // namespace vantrel
