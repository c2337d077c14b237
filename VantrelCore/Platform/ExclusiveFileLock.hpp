#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <sys/types.h>

namespace vantrel {

/// An exclusive flock on a lock file beside the file it guards, never on that file itself: a file
/// replaced by rename gets a new inode, and a lock on the old one would guard nothing. The lock file is
/// left in place; deleting it would let two writers lock different inodes.
///
/// The lock file is created 0600 and never opened through a symbolic link, so a link planted in its place
/// cannot make the program create or write a file outside the profile. The holder writes its process id
/// into the file while it holds the lock, so that a run that finds the lock taken can say whom it waits
/// for. Throws FileSystemError.
class ExclusiveFileLock {
public:
  /// Called once when the lock is found taken, with the holder's process id when it could be read.
  using TakenHandler = std::function<void(std::optional<pid_t> holder)>;

  /// Waits for the lock as long as it takes.
  explicit ExclusiveFileLock(const std::filesystem::path& path);
  /// Waits at most `timeout`: when the lock is taken, calls `onTaken` once and tries again every few
  /// milliseconds. Throws LockTimeoutError when the time is up.
  ExclusiveFileLock(const std::filesystem::path& path, std::chrono::milliseconds timeout,
                    const TakenHandler& onTaken);
  /// Clears the process id and closes the descriptor, which releases the lock.
  ~ExclusiveFileLock();
  ExclusiveFileLock(const ExclusiveFileLock&) = delete;
  ExclusiveFileLock& operator=(const ExclusiveFileLock&) = delete;

private:
  void writeHolder() const;

  int fd_ = -1;
};

} // namespace vantrel
