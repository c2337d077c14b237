#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <tuple>

namespace vantrel {
namespace {

using Environment = std::map<std::string, std::string>;

VantrelPaths resolveWith(const std::optional<std::filesystem::path>& profile,
                         const Environment& environment) {
  return VantrelPaths::resolve(profile, [&environment](std::string_view name) -> std::optional<std::string> {
    const auto found = environment.find(std::string(name));
    return found != environment.end() ? std::optional(found->second) : std::nullopt;
  });
}

TEST(VantrelPaths, ResolvesFromProfileOrXDGFolders) {
  const std::string prefs = "com.vantrel.vantrel.json";
  const std::string homeData = "/h/.local/share", homePrefs = "/h/.config/vantrel/" + prefs;
  // Profile, environment, then the Application Support folder and the standard preferences file.
  const std::tuple<std::optional<std::filesystem::path>, Environment, std::string, std::string> cases[] = {
      {"/p", {{"VANTREL_HOME", "/v"}}, "/p", "/p/Preferences/" + prefs},
      {{}, {{"VANTREL_HOME", "/v"}, {"XDG_DATA_HOME", "/d"}}, "/v", "/v/Preferences/" + prefs},
      {{}, {{"HOME", "/h"}, {"VANTREL_HOME", ""}}, homeData, homePrefs},
      {{}, {{"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}}, "/d", "/c/vantrel/" + prefs},
      // Relative or empty XDG folders fall back to the defaults under HOME.
      {{}, {{"HOME", "/h"}, {"XDG_DATA_HOME", "d"}, {"XDG_CONFIG_HOME", ""}}, homeData, homePrefs},
  };
  for (const auto& [profile, environment, applicationSupport, standardPreferences] : cases) {
    SCOPED_TRACE(applicationSupport);
    const auto paths = resolveWith(profile, environment);
    const std::string group = applicationSupport + "/group.com.vantrel.vantrel.gen1";
    EXPECT_EQ(paths.applicationSupportDirectory, applicationSupport);
    EXPECT_EQ(paths.appGroupContainerDirectory, group);
    EXPECT_EQ(paths.standardPreferencesFile, standardPreferences);
    EXPECT_EQ(paths.sharedPreferencesFile,
              group + "/Library/Preferences/group.com.vantrel.vantrel.gen1.json");
  }
  EXPECT_EQ(resolveWith("profiles/a", {}).applicationSupportDirectory,
            std::filesystem::current_path() / "profiles/a");
  // A profile keeps its cloud database beside everything else; without one it sits in Vantrel's folder.
  EXPECT_EQ(resolveWith("/p", {}).cloudDatabaseFile, "/p/cloud.sqlite");
  EXPECT_EQ(resolveWith({}, {{"HOME", "/h"}}).cloudDatabaseFile, homeData + "/Vantrel/cloud.sqlite");
}

TEST(VantrelPaths, NeedsAHomeWithoutAProfile) {
  for (const Environment& environment :
       {Environment{{"HOME", ""}, {"VANTREL_HOME", ""}}, Environment{{"XDG_DATA_HOME", "/d"}}}) {
    try {
      resolveWith(std::nullopt, environment);
      ADD_FAILURE() << "resolved without a home";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "cannot find a home folder: set HOME, XDG_DATA_HOME or use --profile");
    }
  }
}

TEST(VantrelPaths, ReadsTheProcessEnvironment) {
  const char* previous = std::getenv("VANTREL_HOME");
  const std::optional<std::string> saved =
      previous != nullptr ? std::optional<std::string>(previous) : std::nullopt;
  ::setenv("VANTREL_HOME", "/from/environment", 1);
  const auto paths = VantrelPaths::resolve();
  saved ? ::setenv("VANTREL_HOME", saved->c_str(), 1) : ::unsetenv("VANTREL_HOME");
  EXPECT_EQ(paths.applicationSupportDirectory, "/from/environment");
}

} // namespace
} // namespace vantrel
