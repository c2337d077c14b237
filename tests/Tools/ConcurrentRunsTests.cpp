#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <signal.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

namespace vantrel {
namespace {

namespace fs = std::filesystem;

/// The built program, started as a shell would, with its output thrown away.
class Program {
public:
  Program(const fs::path& profile, const fs::path& cloud, std::vector<std::string> command) {
    const char* binaryDir = std::getenv("VANTREL_BINARY_DIR");
    EXPECT_NE(binaryDir, nullptr) << "VANTREL_BINARY_DIR is set by CTest";
    std::vector<std::string> arguments{
        (fs::path(binaryDir ? binaryDir : ".") / "Tools/vantrel/vantrel").string(),
        "--tz",
        "Europe/Berlin",
        "--profile",
        profile.string(),
        "--cloud",
        cloud.string()};
    arguments.insert(arguments.end(), command.begin(), command.end());
    std::vector<char*> argv;
    for (auto& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    EXPECT_EQ(::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
  }
  void kill() { ::kill(pid_, SIGKILL); }
  /// The exit status; -1 for a run that a signal ended.
  int wait() {
    int status = 0;
    ::waitpid(pid_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

private:
  pid_t pid_ = -1;
};

int runToEnd(const fs::path& profile, const fs::path& cloud, std::vector<std::string> command) {
  return Program(profile, cloud, std::move(command)).wait();
}

/// How many tasks of each title the profile's snapshot holds.
std::map<std::string, int> titlesOf(const fs::path& profile) {
  const auto paths = VantrelPaths::resolve(profile, [](std::string_view) { return std::nullopt; });
  std::map<std::string, int> titles;
  const auto text = PosixFileSystem::shared().readFile(paths.sharedDirectory() / "cache-snapshot.json");
  for (const auto& [name, task] : CloudKitCacheSnapshot::decodeJSON(text.value()).tasks) {
    ++titles[task.title];
  }
  return titles;
}

class ConcurrentRunsTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(runToEnd(laptop(), cloud(), {"area", "add", "Home"}), 0);
    ASSERT_EQ(runToEnd(phone(), cloud(), {"sync"}), 0);
  }
  /// Both devices see every acknowledged title exactly once, and no other title twice.
  void expectOnBothOnce(const std::vector<std::string>& acknowledged) {
    ASSERT_EQ(runToEnd(phone(), cloud(), {"sync"}), 0);
    ASSERT_EQ(runToEnd(laptop(), cloud(), {"sync"}), 0);
    for (const auto& device : {phone(), laptop()}) {
      const auto titles = titlesOf(device);
      for (const auto& title : acknowledged) {
        EXPECT_EQ(titles.contains(title) ? titles.at(title) : 0, 1) << title << " on " << device.filename();
      }
      for (const auto& [title, count] : titles) {
        EXPECT_EQ(count, 1) << title << " on " << device.filename();
      }
    }
  }

  fs::path phone() const { return folder_.path() / "phone"; }
  fs::path laptop() const { return folder_.path() / "laptop"; }
  fs::path cloud() const { return folder_.path() / "cloud.sqlite"; }

  testing::TemporaryFolder folder_ = testing::TemporaryFolder::inMemory();
};

// A status bar script and a person typing, on one profile, while the other device syncs: each run waits
// for the profile's lock, so no run's save point replaces another's.
TEST_F(ConcurrentRunsTest, ManyProcessesOnOneProfileLoseNothing) {
  constexpr int processes = 6;
  constexpr int addsEach = 4;
  std::vector<std::thread> people;
  std::vector<std::vector<std::string>> acknowledged(processes + 1);
  for (int person = 0; person < processes; ++person) {
    people.emplace_back([&, person] {
      for (int add = 0; add < addsEach; ++add) {
        const auto title = "p" + std::to_string(person) + "-" + std::to_string(add);
        const auto offline =
            add % 2 == 0 ? std::vector<std::string>{"--offline"} : std::vector<std::string>{};
        auto command = offline;
        command.insert(command.end(), {"task", "add", "--area", "home", title});
        if (runToEnd(phone(), cloud(), command) == 0) {
          acknowledged[std::size_t(person)].push_back(title);
        }
      }
    });
  }
  people.emplace_back([&] {
    for (int add = 0; add < addsEach; ++add) {
      const auto title = "laptop-" + std::to_string(add);
      if (runToEnd(laptop(), cloud(), {"task", "add", "--area", "home", title}) == 0) {
        acknowledged[processes].push_back(title);
      }
      runToEnd(laptop(), cloud(), {"sync"});
    }
  });
  for (auto& person : people) {
    person.join();
  }
  std::vector<std::string> all;
  for (const auto& titles : acknowledged) {
    EXPECT_EQ(titles.size(), std::size_t(addsEach)) << "every run waits its turn and succeeds";
    all.insert(all.end(), titles.begin(), titles.end());
  }
  expectOnBothOnce(all);
}

// Kills at random instants of real runs (about the length of one run) (seeded, so a failure can be replayed),
// while the other device keeps adding: every task a run acknowledged survives, on both devices, once.
TEST_F(ConcurrentRunsTest, RunsKilledAtRandomInstantsLoseNothingAcknowledged) {
  std::mt19937 random(20261124);
  std::vector<std::string> acknowledged;
  int killed = 0;
  for (int round = 0; round < 40; ++round) {
    const auto title = "killed-" + std::to_string(round);
    Program run(phone(), cloud(), {"task", "add", "--area", "home", title});
    std::this_thread::sleep_for(std::chrono::microseconds(std::uniform_int_distribution(0, 15'000)(random)));
    run.kill();
    if (run.wait() == 0) {
      acknowledged.push_back(title);
    } else {
      ++killed;
    }
    if (round % 4 == 0) {
      const auto other = "laptop-" + std::to_string(round);
      ASSERT_EQ(runToEnd(laptop(), cloud(), {"task", "add", "--area", "home", other}), 0);
      acknowledged.push_back(other);
    }
  }
  EXPECT_GT(killed, 0) << "no run was stopped: the instants miss the runs";
  expectOnBothOnce(acknowledged);
}

} // namespace
} // namespace vantrel
