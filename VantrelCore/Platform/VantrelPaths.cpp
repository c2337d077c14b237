#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <cstdlib>
#include <stdexcept>

namespace vantrel {
namespace {

constexpr std::string_view preferencesFileName = "com.vantrel.vantrel.json";

std::optional<std::string> nonEmpty(const VantrelPaths::Environment& environment, std::string_view name) {
  auto value = environment(name);
  if (value && value->empty()) {
    return std::nullopt;
  }
  return value;
}

/// An XDG base folder: unset, empty or relative values mean the default under HOME.
std::filesystem::path xdgDirectory(const VantrelPaths::Environment& environment, std::string_view variable,
                                   const std::filesystem::path& underHome) {
  if (const auto value = nonEmpty(environment, variable);
      value && std::filesystem::path(*value).is_absolute()) {
    return *value;
  }
  const auto home = nonEmpty(environment, "HOME");
  if (!home) {
    throw std::runtime_error("cannot find a home folder: set HOME, XDG_DATA_HOME or use --profile");
  }
  return std::filesystem::path(*home) / underHome;
}

std::optional<std::string> processEnvironment(std::string_view name) {
  const char* value = std::getenv(std::string(name).c_str());
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace

VantrelPaths VantrelPaths::resolve(const std::optional<std::filesystem::path>& profile,
                                   const Environment& environment) {
  std::optional<std::filesystem::path> profileDirectory = profile;
  if (!profileDirectory) {
    if (const auto home = nonEmpty(environment, "VANTREL_HOME")) {
      profileDirectory = *home;
    }
  }
  VantrelPaths paths;
  if (profileDirectory) {
    paths.applicationSupportDirectory = std::filesystem::absolute(*profileDirectory);
    paths.appGroupContainerDirectory = paths.applicationSupportDirectory / appGroupIdentifier;
    paths.standardPreferencesFile = paths.applicationSupportDirectory / "Preferences" / preferencesFileName;
    paths.cloudDatabaseFile = paths.applicationSupportDirectory / "cloud.sqlite";
  } else {
    paths.applicationSupportDirectory = xdgDirectory(environment, "XDG_DATA_HOME", ".local/share");
    paths.appGroupContainerDirectory = paths.applicationSupportDirectory / appGroupIdentifier;
    paths.standardPreferencesFile =
        xdgDirectory(environment, "XDG_CONFIG_HOME", ".config") / "vantrel" / preferencesFileName;
    paths.cloudDatabaseFile = paths.applicationSupportDirectory / "Vantrel" / "cloud.sqlite";
  }
  paths.sharedPreferencesFile = paths.appGroupContainerDirectory / "Library" / "Preferences" /
                                (std::string(appGroupIdentifier) + ".json");
  return paths;
}

VantrelPaths VantrelPaths::resolve(const std::optional<std::filesystem::path>& profile) {
  return resolve(profile, processEnvironment);
}

} // namespace vantrel
