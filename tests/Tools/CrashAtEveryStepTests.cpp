#include "Linux/PosixFileSystem.hpp"
#include "Tools/vantrel/CommandLine.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel {
namespace {

namespace fs = std::filesystem;
using testing::FaultInjectingFileSystem;

/// Runs a command line in this process, as the program would; answers its exit status and what it
/// printed.
std::pair<int, std::string> runHere(const std::vector<std::string>& arguments, FileSystem& fileSystem) {
  std::ostringstream out;
  std::ostringstream err;
  const testing::ScopedLogCapture quiet;
  const int status = cli::runCommandLine(arguments, fileSystem, out, err);
  return {status, out.str() + err.str()};
}

/// The tasks a profile's snapshot holds, by record name.
std::map<std::string, TaskRecord> tasksOf(const fs::path& profile) {
  const auto paths = VantrelPaths::resolve(profile, [](std::string_view) { return std::nullopt; });
  const auto text = PosixFileSystem::shared().readFile(paths.sharedDirectory() / "cache-snapshot.json");
  if (!text) {
    return {};
  }
  const auto tasks = CloudKitCacheSnapshot::decodeJSON(*text).tasks;
  return {tasks.begin(), tasks.end()};
}

std::size_t countTitled(const std::map<std::string, TaskRecord>& tasks, const std::string& title) {
  return std::size_t(
      std::ranges::count_if(tasks, [&](const auto& task) { return task.second.title == title; }));
}

// Two devices on one cloud file. The laptop made three tasks; the phone fetched two of them, added one
// offline, and marked the laptop's first done from its widget; every run of the phone fetches the third.
// Every one of these was acknowledged. A command of the phone's (or of a fresh profile's) is then stopped at
// each change it makes to the disk in turn, as a kill would stop it; the next clean runs must find everything
// acknowledged, on both devices, exactly once, and the stopped command's own change too when it had reported
// success.
class CrashAtEveryStepTest : public ::testing::Test {
protected:
  void SetUp() override {
    files_.skipSyncs();
    fs::create_directories(world());
    run(laptop(), {"area", "add", "Home"});
    laptopFirst_ = "t-laptop1";
    run(laptop(), {"task", "add", "--area", "home", "Laptop one", "--name", laptopFirst_});
    run(laptop(), {"task", "add", "--area", "home", "Laptop two"});
    run(phone(), {"sync"});
    run(phone(), {"--offline", "task", "add", "--area", "home", "Phone offline"});
    run(phone(), {"mark-done", laptopFirst_});
    run(laptop(), {"task", "add", "--area", "home", "Laptop three"});
    fs::copy(world(), template_.path() / "world", fs::copy_options::recursive);
  }

  fs::path world() const { return folder_.path() / "world"; }
  fs::path phone() const { return world() / "phone"; }
  fs::path laptop() const { return world() / "laptop"; }
  /// A new account's two devices, on a cloud file of their own.
  fs::path fresh() const { return world() / "fresh"; }
  fs::path freshOther() const { return world() / "fresh-other"; }

  std::vector<std::string> on(const fs::path& profile, std::vector<std::string> command) const {
    const auto cloud =
        world() / (profile.filename().string().starts_with("fresh") ? "fresh.sqlite" : "cloud.sqlite");
    std::vector<std::string> arguments{"--tz",      "Europe/Berlin",  "--now",   "2026-11-24T10:00",
                                       "--profile", profile.string(), "--cloud", cloud.string()};
    arguments.insert(arguments.end(), command.begin(), command.end());
    return arguments;
  }
  /// A clean run that must succeed.
  void run(const fs::path& profile, std::vector<std::string> command) {
    const auto [status, output] = runHere(on(profile, std::move(command)), files_);
    EXPECT_EQ(status, 0) << output;
  }

  /// Runs `command` on `profile`, on a fresh copy of the world, with its `change`th change of the disk
  /// failing as on a full disk (none when 0); the run goes on as it can. Answers its exit status and the
  /// changes it made to the disk.
  std::pair<int, int> runOnCopy(const fs::path& profile, const std::vector<std::string>& command,
                                int change = 0) {
    fs::remove_all(world());
    fs::copy(template_.path() / "world", world(), fs::copy_options::recursive);
    FaultInjectingFileSystem fileSystem;
    fileSystem.skipSyncs();
    fileSystem.failChange(change, ENOSPC);
    const int status = runHere(on(profile, command), fileSystem).first;
    EXPECT_TRUE(status == 0 || status == 1) << status;
    return {status, fileSystem.changeCount()};
  }

  /// Runs `command` on `profile` in a child process stopped at its `change`th change of the disk. Answers
  /// whether the child was stopped and whether it reported success.
  std::pair<bool, bool> stoppedRun(const fs::path& profile, const std::vector<std::string>& command,
                                   int change) {
    fs::remove_all(world());
    fs::copy(template_.path() / "world", world(), fs::copy_options::recursive);
    const auto arguments = on(profile, command);
    const pid_t child = ::fork();
    if (child == 0) {
      const int null = ::open("/dev/null", O_WRONLY);
      ::dup2(null, STDOUT_FILENO);
      ::dup2(null, STDERR_FILENO);
      FaultInjectingFileSystem fileSystem;
      fileSystem.skipSyncs();
      fileSystem.stopProcessAtChange(change);
      ::_exit(cli::runCommandLine(arguments, fileSystem, std::cout, std::cerr));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    EXPECT_TRUE(exit == 0 || exit == 1 || exit == FaultInjectingFileSystem::stoppedExitStatus) << exit;
    return {exit == FaultInjectingFileSystem::stoppedExitStatus, exit == 0};
  }

  void expectEverythingAcknowledged(const std::string& trace, const std::optional<std::string>& addedTitle,
                                    bool added) {
    run(phone(), {"sync"});
    run(laptop(), {"sync"});
    for (const auto& device : {phone(), laptop()}) {
      const auto tasks = tasksOf(device);
      for (const auto* title : {"Laptop one", "Laptop two", "Laptop three", "Phone offline"}) {
        EXPECT_EQ(countTitled(tasks, title), 1u) << trace << ": " << title << " on " << device.filename();
      }
      EXPECT_TRUE(tasks.contains(laptopFirst_) && tasks.at(laptopFirst_).done)
          << trace << ": the widget's toggle on " << device.filename();
      if (addedTitle) {
        const auto count = countTitled(tasks, *addedTitle);
        EXPECT_TRUE(added ? count == 1 : count <= 1)
            << trace << ": the stopped command's own task " << count << " times on " << device.filename();
      }
    }
  }

  testing::TemporaryFolder folder_ = testing::TemporaryFolder::inMemory();
  testing::TemporaryFolder template_ = testing::TemporaryFolder::inMemory();
  /// Syncs would only make the test wait: a stopped process leaves the same files either way.
  FaultInjectingFileSystem files_;
  std::string laptopFirst_;
};

// Each change is made to fail once (a full disk: the run goes on, and may report success only if what it
// reported reached the disk), and to stop the run (a kill).
TEST_F(CrashAtEveryStepTest, NothingAcknowledgedIsLostWhereverARunStopsOrTheDiskFails) {
  const struct {
    const char* name;
    std::vector<std::string> command;
    std::optional<std::string> addedTitle;
  } cases[] = {
      {"sync", {"sync"}, std::nullopt},
      {"task add", {"task", "add", "--area", "home", "Added when stopped"}, "Added when stopped"},
      // Offline, so that what the run applied reaches no disk but the device's own.
      {"a drain of queued actions", {"--offline", "status"}, std::nullopt},
      // Found by names people type: the area by its title, the neighbour by the start of its title.
      {"a task added by names", {"task", "add", "--after", "laptop tw", "Added by names"}, "Added by names"},
      {"an offline task add",
       {"--offline", "task", "add", "--area", "home", "Added offline"},
       "Added offline"},
  };
  for (const auto& [name, command, addedTitle] : cases) {
    int change = 1;
    for (;; ++change) {
      const auto trace = std::string(name) + " stopped at change " + std::to_string(change);
      expectEverythingAcknowledged(trace + " by a full disk", addedTitle,
                                   runOnCopy(phone(), command, change).first == 0);
      const auto [stopped, acknowledged] = stoppedRun(phone(), command, change);
      expectEverythingAcknowledged(trace, addedTitle, acknowledged);
      if (!stopped || ::testing::Test::HasFailure()) {
        EXPECT_TRUE(acknowledged) << name << " ran to its end and failed";
        break;
      }
    }
    EXPECT_GT(change, 10) << name << " made suspiciously few changes to the disk";
  }
}

// A refused command changes nothing, and what its run fetched stays fetched.
TEST_F(CrashAtEveryStepTest, ARefusedCommandChangesNothingAndKeepsWhatItFetched) {
  const auto onLaptop = tasksOf(laptop());
  const auto second =
      std::ranges::find_if(onLaptop, [](const auto& task) { return task.second.title == "Laptop two"; });
  ASSERT_NE(second, onLaptop.end());
  const std::string laptopSecond = second->first;
  const std::vector<std::vector<std::string>> refused{
      {"task", "done", laptopSecond, "Phone offline", "t-missing"},
      {"task", "schedule", "2026-13-45x", laptopSecond},
      {"task", "add", "--area", "home", "--name", "_bad name", "Never"},
  };
  for (const auto& command : refused) {
    const auto trace = ::testing::PrintToString(command);
    const auto [status, output] = runHere(on(phone(), command), files_);
    EXPECT_EQ(status, 1) << trace << output;
    // Read straight from the disk: the next run would fetch again and hide a loss.
    const auto tasks = tasksOf(phone());
    EXPECT_EQ(countTitled(tasks, "Laptop three"), 1u) << trace << ": fetched at start-up, kept";
    EXPECT_FALSE(tasks.at(laptopSecond).done) << trace;
    EXPECT_EQ(countTitled(tasks, "Never"), 0u) << trace;
    EXPECT_EQ(tasks.size(), 4u) << trace;
  }
}

// The demo writes hundreds of records and their server copies, thousands of changes; it is stopped at
// every one of its first changes and then at evenly spread ones, the last included.
TEST_F(CrashAtEveryStepTest, ADemoStoppedAnywhereLeavesADeviceInStepWithTheCloud) {
  const auto [status, changes] = runOnCopy(fresh(), {"demo"});
  EXPECT_EQ(status, 0);
  constexpr int everyOneUpTo = 40;
  const int stride = std::max(1, (changes - everyOneUpTo) / 40);
  for (int change = 1;;
       change += change < everyOneUpTo ? 1 : std::min(stride, std::max(1, changes - change))) {
    const auto trace = "demo stopped at change " + std::to_string(change);
    const auto [stopped, acknowledged] = stoppedRun(fresh(), {"demo"}, change);
    run(fresh(), {"sync"});
    run(freshOther(), {"sync"});
    const auto mine = tasksOf(fresh());
    const auto cloud = tasksOf(freshOther());
    for (const auto& [name, task] : mine) {
      EXPECT_TRUE(cloud.contains(name)) << trace << ": " << task.title << " never reached the cloud";
    }
    if (acknowledged) {
      EXPECT_GE(mine.size(), 31u) << trace;
    }
    if (!stopped || ::testing::Test::HasFailure()) {
      EXPECT_TRUE(acknowledged) << trace;
      break;
    }
  }
}

} // namespace
} // namespace vantrel
