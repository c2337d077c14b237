#pragma once

#include "Linux/UniqueFileDescriptor.hpp"
#include "VantrelCore/Platform/FileLock.hpp"

#include <filesystem>

namespace vantrel {

/// An flock on a lock file, as PosixFileSystem::lockExclusive describes; the holder's process id is
/// written into the file while the lock is held. Throws FileSystemError or LockTimeoutError.
class PosixFileLock final : public FileLock {
public:
  PosixFileLock(const std::filesystem::path& path, const Wait& wait);
  /// Clears the process id and closes the descriptor, which releases the lock.
  ~PosixFileLock() override;
  PosixFileLock(const PosixFileLock&) = delete;
  PosixFileLock& operator=(const PosixFileLock&) = delete;

private:
  void writeHolder() const;

  UniqueFileDescriptor descriptor_;
};

} // namespace vantrel
