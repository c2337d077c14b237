#include "Linux/JSONFilePreferences.hpp"
#include "Linux/PreferencesFileError.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

class JSONFilePreferencesTest : public ::testing::Test {
protected:
  static std::string readText(const fs::path& path) {
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }
  void writeText(std::string_view text) {
    fs::create_directories(file_.parent_path());
    std::ofstream(file_, std::ios::binary) << text;
  }
  static unsigned permissionsOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }

  testing::TemporaryFolder temporary_;
  const fs::path folder_ = temporary_.path();
  const fs::path file_ = folder_ / "Preferences" / "p.json";
};

TEST_F(JSONFilePreferencesTest, EveryKindReadsBackThroughAnotherInstance) {
  std::string large(200'000, '\0'); // more than one base64 chunk
  for (std::size_t index = 0; index < large.size(); ++index) {
    large[index] = static_cast<char>(index * 7 % 253);
  }
  const std::vector<std::pair<std::string, PreferenceValue>> entries = {
      {"min", std::numeric_limits<std::int64_t>::min()},
      {"on", true},
      {"", std::string()},
      {"text", std::string("Grüße 🌍 \"q\" \\ \n\t\x01")},
      {"list", std::vector<std::string>{"", "a", "ü"}},
      {"data1", PreferenceData{"\xff"}},
      {"data2", PreferenceData{std::string("\0\xfe", 2)}},
      {"large", PreferenceData{large}},
  };
  JSONFilePreferences writer(file_);
  writer.setValue("removed", true);
  for (const auto& [key, value] : entries) {
    writer.setValue(key, value);
  }
  writer.removeValue("removed");

  JSONFilePreferences reader(file_);
  for (const auto& [key, value] : entries) {
    EXPECT_EQ(reader.value(key), value) << "key '" << key << "'";
  }
  EXPECT_EQ(reader.value("removed"), std::nullopt);
}

TEST_F(JSONFilePreferencesTest, FileFormIsSortedCompactJSONAndHandWrittenFilesRead) {
  JSONFilePreferences preferences(file_);
  preferences.setValue("name", std::string("Ann"));
  preferences.setValue("list", std::vector<std::string>{"x", "y"});
  preferences.setValue("flag", true);
  preferences.setValue("count", std::int64_t{-3});
  preferences.setValue("blob", PreferenceData{std::string("\0\xff", 2)});
  EXPECT_EQ(readText(file_),
            R"({"blob":{"data":"AP8="},"count":-3,"flag":true,"list":["x","y"],"name":"Ann"})"
            "\n");

  writeText("{\n  \"name\": \"caf\\u00e9\",\n  \"blob\": { \"data\": \"aGVsbG8=\" }\n}\n");
  EXPECT_EQ(preferences.string("name"), "café");
  EXPECT_EQ(preferences.data("blob"), PreferenceData{"hello"});
  EXPECT_EQ(preferences.value("count"), std::nullopt);
}

TEST_F(JSONFilePreferencesTest, AFileThatCannotBeUnderstoodIsReportedAndKept) {
  const std::pair<std::string, std::string> cases[] = {
      {"not json", "The given data was not valid JSON: Invalid value. (line 1, column 2)"},
      {"{\n  \"x\": 1,\n  \"y\": }", "The given data was not valid JSON: Invalid value. (line 3, column 8)"},
      {"", "The given data was not valid JSON: The document is empty. (line 1, column 1)"},
      {R"(["x"])", "the top level must be an object"},
      {R"({"x": 1.5})", "key 'x' holds a number that is not an integer"},
      {R"({"x": 9223372036854775808})", "key 'x' holds an integer that does not fit in 64 bits"},
      {R"({"x": ["a", 2]})", "key 'x' holds an array whose item at index 1 is an integer, not a string"},
      {R"({"x": {"data": "***"}})", "key 'x' holds data that is not valid base64"},
      {R"({"x": {"data": "QQ=A"}})", "key 'x' holds data that is not valid base64"},
      {R"({"x": {"other": 1}})", "key 'x' holds an object other than {\"data\": \"<base64>\"}"},
      {R"({"x": null})", "key 'x' holds null, which no preference can be"},
      {R"({"x": 1, "x": 2})", "key 'x' appears more than once"},
      {std::string(65, '[') + std::string(65, ']'),
       "The given data was not valid JSON: More than 64 nested arrays and objects. (line 1, column 65)"},
      {"{\"x\": \"caf\xE9\"}",
       "The given data was not valid JSON: Invalid encoding in string. (line 1, column 11)"},
      {std::string(16 * 1024 * 1024 + 1, ' '), "the file is larger than 16 MiB"},
      {R"({"x": "\udc00"})",
       "The given data was not valid JSON: The surrogate pair in string is invalid. (line 1, column 15)"},
  };
  for (const auto& [content, reason] : cases) {
    SCOPED_TRACE(content.substr(0, 100));
    writeText(content);
    JSONFilePreferences preferences(file_);
    const std::string message = "preferences file " + file_.string() + " is unreadable: " + reason;
    const std::function<void()> calls[] = {
        [&] { preferences.value("x"); },
        [&] { preferences.setValue("y", true); },
        [&] { preferences.removeValue("x"); },
    };
    for (const auto& call : calls) {
      try {
        call();
        ADD_FAILURE() << "no error";
      } catch (const PreferencesFileError& error) {
        EXPECT_EQ(error.what(), message);
      }
    }
    EXPECT_EQ(readText(file_), content);
  }
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(file_.parent_path())) {
    names.insert(entry.path().filename().string());
  }
  EXPECT_EQ(names, (std::set<std::string>{"p.json", "p.json.lock"}));
}

TEST_F(JSONFilePreferencesTest, SeesWhatAnotherInstanceWroteAndRefusesTextThatIsNotUTF8) {
  JSONFilePreferences first(file_);
  JSONFilePreferences second(file_);
  EXPECT_EQ(first.value("k"), std::nullopt);
  second.setValue("k", std::int64_t{1});
  EXPECT_EQ(first.integer("k"), 1);
  second.removeValue("k");
  EXPECT_EQ(first.value("k"), std::nullopt);

  first.setValue("kept", true);
  const auto before = readText(file_);
  EXPECT_THROW(first.setValue("bad\xff", true), std::invalid_argument);
  EXPECT_THROW(first.setValue("kept", std::string("bad\xff")), std::invalid_argument);
  EXPECT_THROW(first.setValue("big", PreferenceData{std::string(13 * 1024 * 1024, 'x')}),
               std::invalid_argument);
  EXPECT_EQ(readText(file_), before);
  EXPECT_EQ(second.boolean("kept"), true);
}

TEST_F(JSONFilePreferencesTest, ConcurrentProcessesLoseNoWrite) {
  constexpr int keysPerProcess = 100;
  pid_t children[2];
  for (int process = 0; process < 2; ++process) {
    children[process] = ::fork();
    ASSERT_GE(children[process], 0);
    if (children[process] == 0) {
      try {
        JSONFilePreferences preferences(file_);
        for (int index = 0; index < keysPerProcess; ++index) {
          preferences.setValue(std::to_string(process) + "-" + std::to_string(index), std::int64_t{index});
        }
      } catch (...) {
        ::_exit(1);
      }
      ::_exit(0);
    }
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  const JSONFilePreferences preferences(file_);
  for (int process = 0; process < 2; ++process) {
    for (int index = 0; index < keysPerProcess; ++index) {
      EXPECT_EQ(preferences.integer(std::to_string(process) + "-" + std::to_string(index)), index);
    }
  }
}

// Private whatever the umask: a lax one must not widen the modes, nor a strict one take the owner's.
TEST_F(JSONFilePreferencesTest, StoresCreateTheirPrivateFilesOnTheFirstWrite) {
  for (const mode_t mask : {0000, 0022, 0077, 0277}) {
    SCOPED_TRACE(mask);
    const mode_t previousMask = ::umask(mask);
    const auto profile = folder_ / ("profile-" + std::to_string(mask));
    const auto paths = VantrelPaths::resolve(profile, [](std::string_view) { return std::nullopt; });
    const auto standard = JSONFilePreferences::standard(paths);
    const auto shared = JSONFilePreferences::shared(paths);
    EXPECT_EQ(standard->value("a"), std::nullopt);
    standard->removeValue("a");
    EXPECT_FALSE(fs::exists(profile));

    standard->setValue("a", std::int64_t{1});
    shared->setValue("b", std::int64_t{2});
    ::umask(previousMask);
    EXPECT_EQ(JSONFilePreferences(paths.standardPreferencesFile).integer("a"), 1);
    EXPECT_EQ(JSONFilePreferences(paths.sharedPreferencesFile).integer("b"), 2);
    EXPECT_EQ(standard->value("b"), std::nullopt);
    for (const auto& file : {paths.standardPreferencesFile, paths.sharedPreferencesFile}) {
      EXPECT_EQ(permissionsOf(file), 0600u);
      EXPECT_EQ(permissionsOf(file.string() + ".lock"), 0600u);
      EXPECT_EQ(permissionsOf(file.parent_path()), 0700u);
    }
    EXPECT_EQ(permissionsOf(paths.appGroupContainerDirectory), 0700u);
  }
}

// A lock that cannot be taken stops the change before anything is written, with the lock's own error.
TEST_F(JSONFilePreferencesTest, ARefusedLockIsTheWritersErrorAndChangesNothing) {
  using Step = testing::FaultInjectingFileSystem::Step;
  testing::FaultInjectingFileSystem files;
  JSONFilePreferences preferences(file_, files);
  preferences.setValue("a", std::int64_t{1});
  files.failCall(Step::lock, 2, EACCES);
  try {
    preferences.setValue("a", std::int64_t{2});
    ADD_FAILURE() << "changed the file without its lock";
  } catch (const FileSystemError& error) {
    EXPECT_EQ(error.what(), "flock " + file_.string() + ".lock: Permission denied");
  }
  EXPECT_EQ(files.callCount(Step::create), 1);
  EXPECT_EQ(JSONFilePreferences(file_).integer("a"), 1);
}

} // namespace
} // namespace vantrel
