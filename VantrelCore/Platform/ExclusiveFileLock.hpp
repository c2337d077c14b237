#pragma once

#include "VantrelCore/Platform/FileLock.hpp"
#include "VantrelCore/Platform/FileSystem.hpp"

#include <chrono>
#include <filesystem>
#include <memory>

namespace vantrel {

/// An exclusive lock on a lock file beside the file it guards, never on that file itself: a file
/// replaced by rename gets a new inode, and a lock on the old one would guard nothing. Taken through the
/// FileSystem (see lockExclusive for how the lock file is kept safe) and released when the object ends.
/// Throws FileSystemError.
class ExclusiveFileLock {
public:
  /// Called once when the lock is found taken, with the holder's process id when it could be read.
  using TakenHandler = FileLock::TakenHandler;

  /// Waits for the lock as long as it takes.
  ExclusiveFileLock(FileSystem& fileSystem, const std::filesystem::path& path);
  /// Waits at most `timeout`: when the lock is taken, calls `onTaken` once and tries again every few
  /// milliseconds. Throws LockTimeoutError when the time is up.
  ExclusiveFileLock(FileSystem& fileSystem, const std::filesystem::path& path,
                    std::chrono::milliseconds timeout, const TakenHandler& onTaken);

private:
  std::unique_ptr<FileLock> lock_;
};

} // namespace vantrel
