#include "Linux/InotifyWatcher.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <system_error>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace vantrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Kind = InotifyWatcher::Kind;
using Seen = std::tuple<Kind, int, std::string, bool>;

/// What the watcher read, sorted: the order between two watches is the system's choice.
std::vector<Seen> seen(InotifyWatcher& watcher) {
  std::vector<Seen> events;
  for (const auto& event : watcher.readEvents()) {
    events.emplace_back(event.kind, event.watch, event.name, event.isFolder);
  }
  std::sort(events.begin(), events.end());
  return events;
}

TEST(InotifyWatcher, DecodesCreationMovesAndDeletionOfFilesAndFolders) {
  testing::TemporaryFolder temporary;
  const fs::path folder = temporary.path();
  fs::create_directory(folder / "sub");
  InotifyWatcher watcher;
  const int root = watcher.watch(folder);
  const int sub = watcher.watch(folder / "sub");
  EXPECT_EQ(watcher.watch(folder), root) << "a folder has one watch";
  const struct {
    const char* change;
    std::function<void()> make;
    std::vector<Seen> expected;
  } rows[] = {
      {"a file written",
       [&] { std::ofstream(folder / "a.ics") << "x"; },
       {{Kind::created, root, "a.ics", false}, {Kind::written, root, "a.ics", false}}},
      {"a file renamed",
       [&] { fs::rename(folder / "a.ics", folder / "b.ics"); },
       {{Kind::movedIn, root, "b.ics", false}, {Kind::movedOut, root, "a.ics", false}}},
      {"a file deleted", [&] { fs::remove(folder / "b.ics"); }, {{Kind::deleted, root, "b.ics", false}}},
      {"a folder made", [&] { fs::create_directory(folder / "new"); }, {{Kind::created, root, "new", true}}},
      {"a watched folder deleted",
       [&] { fs::remove(folder / "sub"); },
       {{Kind::deleted, root, "sub", true},
        {Kind::folderDeleted, sub, "", false},
        {Kind::unwatched, sub, "", false}}},
      {"the root unwatched", [&] { watcher.unwatch(root); }, {{Kind::unwatched, root, "", false}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.change);
    row.make();
    EXPECT_EQ(seen(watcher), row.expected);
  }
  EXPECT_EQ(watcher.wait(0ms), InotifyWatcher::Ready::none);
  EXPECT_THROW(watcher.watch(folder / "missing"), std::system_error);
}

// More events than the system queues: the watcher says some were lost. A wake ends every later wait.
TEST(InotifyWatcher, ReportsAnOverflowAndStaysWoken) {
  testing::TemporaryFolder temporary;
  InotifyWatcher watcher;
  watcher.watch(temporary.path(), std::array{Kind::written});
  std::size_t queueLimit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> queueLimit;
  ASSERT_GT(queueLimit, 0u);
  // Two files by turns: the system folds an event into an identical one just before it.
  for (std::size_t index = 0; index <= queueLimit; ++index) {
    const auto file = temporary.path() / (index % 2 == 0 ? "a" : "b");
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    ::close(fd);
  }
  EXPECT_EQ(watcher.wait(0ms), InotifyWatcher::Ready::events);
  const auto events = watcher.readEvents();
  ASSERT_EQ(events.size(), queueLimit + 1);
  EXPECT_EQ(events.back().kind, Kind::overflow);
  EXPECT_EQ(events.back().watch, -1);
  EXPECT_EQ(events.front().kind, Kind::written);

  watcher.wake();
  EXPECT_EQ(watcher.wait(std::nullopt), InotifyWatcher::Ready::woken);
  EXPECT_EQ(watcher.wait(std::nullopt), InotifyWatcher::Ready::woken);
}

} // namespace
} // namespace vantrel
