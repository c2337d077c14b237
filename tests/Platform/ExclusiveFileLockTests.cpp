#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/ExclusiveFileLock.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"
#include "VantrelCore/Platform/LockTimeoutError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vantrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ExclusiveFileLock, RefusesASymbolicLinkInItsPlaceAndLeavesTheTargetAlone) {
  testing::TemporaryFolder folder;
  FileSystem& files = PosixFileSystem::shared();
  std::ofstream(folder.path() / "kept") << "precious";
  const auto lockFile = folder.path() / "profile.lock";
  for (const char* target : {"kept", "created"}) {
    for (const bool timed : {false, true}) {
      fs::remove(lockFile);
      fs::create_symlink(folder.path() / target, lockFile);
      try {
        timed ? (void)ExclusiveFileLock(files, lockFile, 1s, [](auto) {})
              : (void)ExclusiveFileLock(files, lockFile);
        ADD_FAILURE() << "followed the link to " << target;
      } catch (const FileSystemError& error) {
        EXPECT_NE(std::string(error.what()).find("symbolic link " + lockFile.string()), std::string::npos)
            << error.what();
      }
    }
  }
  EXPECT_EQ(contentOf(folder.path() / "kept"), "precious");
  EXPECT_FALSE(fs::exists(folder.path() / "created"));
}

// Another process holds the lock: a timed wait hears of it once, with the holder's pid, gives up with the
// typed error when its time is up, and gets the lock without waiting once the holder has let go.
TEST(ExclusiveFileLock, ATimedWaitSaysWhoHoldsItGivesUpAndPassesOnRelease) {
  testing::TemporaryFolder folder;
  FileSystem& files = PosixFileSystem::shared();
  const auto lockFile = folder.path() / "profile.lock";
  int held[2], release[2];
  ASSERT_EQ(::pipe(held), 0);
  ASSERT_EQ(::pipe(release), 0);
  const mode_t previous = ::umask(0);
  const pid_t holder = ::fork();
  if (holder == 0) {
    char signal = '!';
    bool told = false;
    {
      const ExclusiveFileLock lock(files, lockFile);
      told = ::write(held[1], &signal, 1) == 1 && ::read(release[0], &signal, 1) == 1;
    }
    ::_exit(told ? 0 : 1);
  }
  char signal = 0;
  ASSERT_EQ(::read(held[0], &signal, 1), 1);
  EXPECT_EQ(fs::status(lockFile).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  ::umask(previous);

  std::vector<std::optional<pid_t>> heard;
  const auto listen = [&](std::optional<pid_t> pid) { heard.push_back(pid); };
  try {
    const ExclusiveFileLock lock(files, lockFile, 30ms, listen);
    ADD_FAILURE() << "took a lock another process holds";
  } catch (const LockTimeoutError& error) {
    EXPECT_EQ(error.holder(), holder);
    EXPECT_EQ(error.what(), "gave up waiting for " + lockFile.string() + " after 30 ms: process " +
                                std::to_string(holder) + " holds it");
  }
  EXPECT_EQ(heard, std::vector<std::optional<pid_t>>{holder});

  ASSERT_EQ(::write(release[1], &signal, 1), 1);
  int status = 0;
  ASSERT_EQ(::waitpid(holder, &status, 0), holder);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(contentOf(lockFile), "") << "a released lock names nobody";
  {
    const ExclusiveFileLock lock(files, lockFile, 0ms, listen);
    EXPECT_EQ(heard.size(), 1u);
    EXPECT_EQ(contentOf(lockFile), std::to_string(::getpid()) + "\n");
  }
  for (const int fd : {held[0], held[1], release[0], release[1]}) {
    ::close(fd);
  }
}

} // namespace
} // namespace vantrel
