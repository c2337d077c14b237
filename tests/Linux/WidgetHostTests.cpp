#include "Linux/CommandWidgetCenter.hpp"
#include "Linux/FileChangeWaiter.hpp"
#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>

namespace vantrel {
namespace {

std::string contentsOf(const std::filesystem::path& file) {
  std::stringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

TEST(CommandWidgetCenter, RunsTheConfiguredCommandAndLogsAFailure) {
  testing::TemporaryFolder folder;
  const auto marker = folder.path() / "reloaded";
  CommandWidgetCenter("echo reloaded >> '" + marker.string() + "'").reloadAllTimelines();
  CommandWidgetCenter("echo again >> '" + marker.string() + "'").reloadAllTimelines();
  EXPECT_EQ(contentsOf(marker), "reloaded\nagain\n") << "the command has finished when the reload returns";

  testing::ScopedLogCapture log;
  CommandWidgetCenter(std::nullopt).reloadAllTimelines();
  CommandWidgetCenter("").reloadAllTimelines();
  EXPECT_TRUE(log.messages().empty());
  CommandWidgetCenter("exit 3").reloadAllTimelines();
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Widget reload command failed with status 3: exit 3"});
}

class FileChangeWaiterTest : public ::testing::Test {
protected:
  Date inSeconds(double seconds) const { return SystemClock().now().adding(seconds); }
  /// Waits with a far deadline while `change` runs on another thread shortly after the wait began.
  FileChangeWaiter::Wake waitThrough(const std::function<void()>& change, double deadlineSeconds = 30) {
    std::thread changer([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      change();
    });
    const auto wake = waiter_.waitUntil(inSeconds(deadlineSeconds));
    changer.join();
    return wake;
  }

  testing::TemporaryFolder folder_;
  FileChangeWaiter waiter_{folder_.path(), {"cache-snapshot.json", "intent-actions.json"}};
};

TEST_F(FileChangeWaiterTest, WakesAtTheDeadlineWhenNothingWatchedChanges) {
  EXPECT_EQ(waiter_.waitUntil(inSeconds(0.05)), FileChangeWaiter::Wake::deadline);
  EXPECT_EQ(waiter_.waitUntil(inSeconds(-10)), FileChangeWaiter::Wake::deadline) << "a past instant";
  EXPECT_EQ(waitThrough([&] { std::ofstream(folder_.path() / "other.json") << "x"; }, 0.3),
            FileChangeWaiter::Wake::deadline);
}

TEST_F(FileChangeWaiterTest, WakesWhenAWatchedFileIsReplacedWrittenOrDeleted) {
  const auto snapshot = folder_.path() / "cache-snapshot.json";
  const auto queue = folder_.path() / "intent-actions.json";
  const std::pair<const char*, std::function<void()>> changes[] = {
      {"replaced", [&] { AtomicFileWriter(PosixFileSystem::shared()).writeString("{}", snapshot); }},
      {"written", [&] { std::ofstream(queue) << "[]"; }},
      {"deleted", [&] { std::filesystem::remove(queue); }},
  };
  for (const auto& [name, change] : changes) {
    EXPECT_EQ(waitThrough(change), FileChangeWaiter::Wake::fileChanged) << name;
  }
}

} // namespace
} // namespace vantrel
