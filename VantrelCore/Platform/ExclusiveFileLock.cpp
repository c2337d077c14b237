#include "VantrelCore/Platform/ExclusiveFileLock.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vantrel {

ExclusiveFileLock::ExclusiveFileLock(const std::filesystem::path& path) {
  do {
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  } while (fd_ < 0 && errno == EINTR);
  if (fd_ < 0) {
    throw FileSystemError("open", path, errno);
  }
  int result = 0;
  do {
    result = ::flock(fd_, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  if (result != 0) {
    const int lockError = errno;
    ::close(fd_);
    throw FileSystemError("flock", path, lockError);
  }
}

ExclusiveFileLock::~ExclusiveFileLock() {
  ::close(fd_);
}

} // namespace vantrel
