#include "Linux/PosixFileLock.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"
#include "VantrelCore/Platform/LockTimeoutError.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <type_traits>
#include <unistd.h>

namespace vantrel {
namespace {

static_assert(std::is_same_v<FileLock::ProcessID, pid_t>);

// A waiter polls quickly at first, so a short hold costs little, then settles on a pace that keeps an idle
// wait cheap without making the handover noticeably late.
constexpr std::chrono::milliseconds firstPause{1};
constexpr std::chrono::milliseconds longestPause{50};

UniqueFileDescriptor openLockFile(const std::filesystem::path& path) {
  int fd = -1;
  do {
    fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  } while (fd < 0 && errno == EINTR);
  if (fd >= 0) {
    UniqueFileDescriptor descriptor(fd);
    // Whatever the umask kept, the next process must be able to open the file to wait on it.
    if (::fchmod(fd, 0600) != 0) {
      throw FileSystemError("chmod", path, errno);
    }
    return descriptor;
  }
  const int openError = errno;
  // O_NOFOLLOW reports a link in the file's place as ELOOP; the message says what was really found.
  struct stat status {};
  if (openError == ELOOP && ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
    throw FileSystemError("not following the symbolic link", path, openError);
  }
  throw FileSystemError("open", path, openError);
}

/// Takes the lock, waiting for it as long as it takes.
void lock(int fd, const std::filesystem::path& path) {
  int result = 0;
  do {
    result = ::flock(fd, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  if (result != 0) {
    throw FileSystemError("flock", path, errno);
  }
}

/// Takes the lock if it is free; answers false when another descriptor holds it.
bool tryLock(int fd, const std::filesystem::path& path) {
  for (;;) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
      return true;
    }
    if (errno == EWOULDBLOCK) {
      return false;
    }
    if (errno != EINTR) {
      throw FileSystemError("flock", path, errno);
    }
  }
}

/// The process id the holder wrote: decimal digits up to a newline.
std::optional<pid_t> holderOf(int fd) {
  std::array<char, 32> text{};
  const ssize_t count = ::pread(fd, text.data(), text.size(), 0);
  if (count <= 0) {
    return std::nullopt;
  }
  const char* const end = text.data() + count;
  pid_t pid = 0;
  const auto [stop, error] = std::from_chars(text.data(), end, pid);
  if (error != std::errc() || pid <= 0 || (stop != end && *stop != '\n')) {
    return std::nullopt;
  }
  return pid;
}

} // namespace

PosixFileLock::PosixFileLock(const std::filesystem::path& path, const Wait& wait)
    : descriptor_(openLockFile(path)) {
  const int fd = descriptor_.get();
  if (!wait.timeout && !wait.onTaken) {
    lock(fd, path);
  } else if (!tryLock(fd, path)) {
    if (wait.onTaken) {
      wait.onTaken(holderOf(fd));
    }
    if (!wait.timeout) {
      lock(fd, path);
    } else {
      const auto deadline = std::chrono::steady_clock::now() + *wait.timeout;
      std::chrono::milliseconds pause = firstPause;
      while (!tryLock(fd, path)) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) {
          throw LockTimeoutError(path, *wait.timeout, holderOf(fd));
        }
        std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(pause, deadline - now));
        pause = std::min(pause * 2, longestPause);
      }
    }
  }
  writeHolder();
}

PosixFileLock::~PosixFileLock() {
  // Still holding the lock: the next holder never finds this process named after it has gone.
  [[maybe_unused]] const int cleared = ::ftruncate(descriptor_.get(), 0);
}

void PosixFileLock::writeHolder() const {
  // The id is written over the old one, then the rest cut off, so a reader meanwhile sees a whole id
  // before a newline. It only names the holder in messages: failing to write it leaves the lock held.
  const std::string text = std::to_string(::getpid()) + "\n";
  if (::pwrite(descriptor_.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size())) {
    [[maybe_unused]] const int cut = ::ftruncate(descriptor_.get(), static_cast<off_t>(text.size()));
  }
}

} // namespace vantrel
