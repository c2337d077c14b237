#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>

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
  struct Case {
    const char* name;
    std::optional<std::filesystem::path> profile;
    Environment environment;
    std::string applicationSupport;
    std::string standardPreferences;
  };
  const Case cases[] = {
      {"profile argument", "/p", {{"HOME", "/home/u"}}, "/p", "/p/Preferences/com.vantrel.vantrel.json"},
      {"profile beats VANTREL_HOME",
       "/p",
       {{"VANTREL_HOME", "/v"}},
       "/p",
       "/p/Preferences/com.vantrel.vantrel.json"},
      {"VANTREL_HOME",
       std::nullopt,
       {{"VANTREL_HOME", "/v"}, {"XDG_DATA_HOME", "/d"}},
       "/v",
       "/v/Preferences/com.vantrel.vantrel.json"},
      {"HOME defaults",
       std::nullopt,
       {{"HOME", "/home/u"}, {"VANTREL_HOME", ""}},
       "/home/u/.local/share",
       "/home/u/.config/vantrel/com.vantrel.vantrel.json"},
      {"XDG folders",
       std::nullopt,
       {{"HOME", "/home/u"}, {"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}},
       "/d",
       "/c/vantrel/com.vantrel.vantrel.json"},
      {"relative or empty XDG folders are ignored",
       std::nullopt,
       {{"HOME", "/home/u"}, {"XDG_DATA_HOME", "d"}, {"XDG_CONFIG_HOME", ""}},
       "/home/u/.local/share",
       "/home/u/.config/vantrel/com.vantrel.vantrel.json"},
      {"XDG folders without HOME",
       std::nullopt,
       {{"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}},
       "/d",
       "/c/vantrel/com.vantrel.vantrel.json"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.name);
    const auto paths = resolveWith(testCase.profile, testCase.environment);
    const std::string group = testCase.applicationSupport + "/group.com.vantrel.vantrel.gen1";
    EXPECT_EQ(paths.applicationSupportDirectory, testCase.applicationSupport);
    EXPECT_EQ(paths.appGroupContainerDirectory, group);
    EXPECT_EQ(paths.standardPreferencesFile, testCase.standardPreferences);
    EXPECT_EQ(paths.sharedPreferencesFile,
              group + "/Library/Preferences/group.com.vantrel.vantrel.gen1.json");
  }
}

TEST(VantrelPaths, MakesARelativeProfileAbsolute) {
  EXPECT_EQ(resolveWith("profiles/a", {}).applicationSupportDirectory,
            std::filesystem::current_path() / "profiles/a");
  EXPECT_EQ(resolveWith(std::nullopt, {{"VANTREL_HOME", "b"}}).applicationSupportDirectory,
            std::filesystem::current_path() / "b");
}

TEST(VantrelPaths, NeedsAHomeWithoutAProfile) {
  const Environment environments[] = {
      {},
      {{"HOME", ""}, {"VANTREL_HOME", ""}},
      {{"XDG_DATA_HOME", "relative"}, {"XDG_CONFIG_HOME", "/c"}},
      {{"XDG_DATA_HOME", "/d"}},
  };
  for (const auto& environment : environments) {
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
  if (saved) {
    ::setenv("VANTREL_HOME", saved->c_str(), 1);
  } else {
    ::unsetenv("VANTREL_HOME");
  }
  EXPECT_EQ(paths.applicationSupportDirectory, "/from/environment");
  EXPECT_EQ(VantrelPaths::resolve("/given").applicationSupportDirectory, "/given");
}

} // namespace
} // namespace vantrel
