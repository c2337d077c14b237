#pragma once

#include <filesystem>

namespace vantrel {

/// An exclusive flock on a lock file beside the file it guards, never on that file itself: a file
/// replaced by rename gets a new inode, and a lock on the old one would guard nothing. The lock file is
/// left in place; deleting it would let two writers lock different inodes. Throws FileSystemError.
class ExclusiveFileLock {
public:
  explicit ExclusiveFileLock(const std::filesystem::path& path);
  /// Closing the descriptor releases the lock.
  ~ExclusiveFileLock();
  ExclusiveFileLock(const ExclusiveFileLock&) = delete;
  ExclusiveFileLock& operator=(const ExclusiveFileLock&) = delete;

private:
  int fd_ = -1;
};

} // namespace vantrel
