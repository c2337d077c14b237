#include "Linux/PosixFileSystem.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {
namespace {

/// Calls `operation` again while a signal interrupts it.
template <typename Operation> auto retryingInterrupts(Operation operation) {
  for (;;) {
    const auto result = operation();
    if (result >= 0 || errno != EINTR) {
      return result;
    }
  }
}

bool isDirectory(const std::filesystem::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

PosixFileSystem& PosixFileSystem::shared() {
  static PosixFileSystem instance;
  return instance;
}

int PosixFileSystem::createExclusive(const std::filesystem::path& path, mode_t mode) {
  const int fd =
      retryingInterrupts([&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); });
  if (fd < 0) {
    throw FileSystemError("create", path, errno);
  }
  // The umask may have taken bits the mode asked for (an owner's own write bit under 0277); the mode
  // asked for is what the file gets.
  if (::fchmod(fd, mode) != 0) {
    const int error = errno;
    ::close(fd);
    ::unlink(path.c_str());
    throw FileSystemError("chmod", path, error);
  }
  std::lock_guard lock(mutex_);
  openFiles_[fd] = path;
  return fd;
}

void PosixFileSystem::writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = retryingInterrupts([&] { return ::write(fd, bytes.data(), bytes.size()); });
    if (written < 0) {
      throw FileSystemError("write", pathOf(fd), errno);
    }
    if (written == 0) {
      // No progress and no error: give up rather than spin.
      throw FileSystemError("write", pathOf(fd), EIO);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void PosixFileSystem::syncFile(int fd) {
  if (::fsync(fd) != 0) {
    throw FileSystemError("fsync", pathOf(fd), errno);
  }
}

void PosixFileSystem::closeFile(int fd) {
  const auto path = pathOf(fd);
  {
    std::lock_guard lock(mutex_);
    openFiles_.erase(fd);
  }
  // Linux releases the descriptor even when close reports an error, so it is never retried.
  if (::close(fd) != 0) {
    throw FileSystemError("close", path, errno);
  }
}

void PosixFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) {
    throw FileSystemError("rename", from, to, errno);
  }
}

namespace {

/// Opens `path` only to hand it to `sync` (fsync of a folder, syncfs), naming the call in errors.
template <class Sync>
void syncThroughDescriptor(const std::filesystem::path& path, int flags, const char* name, Sync sync) {
  const int fd = retryingInterrupts([&] { return ::open(path.c_str(), flags | O_CLOEXEC); });
  if (fd < 0) {
    throw FileSystemError("open", path, errno);
  }
  const int syncResult = sync(fd);
  const int syncError = errno;
  ::close(fd);
  if (syncResult != 0) {
    throw FileSystemError(name, path, syncError);
  }
}

} // namespace

void PosixFileSystem::syncFileSystem(const std::filesystem::path& path) {
  syncThroughDescriptor(path, O_RDONLY, "syncfs", ::syncfs);
}

void PosixFileSystem::syncDirectory(const std::filesystem::path& directory) {
  syncThroughDescriptor(directory, O_RDONLY | O_DIRECTORY, "fsync", ::fsync);
}

void PosixFileSystem::removeFile(const std::filesystem::path& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    throw FileSystemError("unlink", path, errno);
  }
}

std::optional<std::string> PosixFileSystem::readFile(const std::filesystem::path& path) {
  const int fd = retryingInterrupts([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); });
  if (fd < 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return std::nullopt;
    }
    throw FileSystemError("open", path, errno);
  }
  // Sized from the file up front: growing the text chunk by chunk would copy a large file several times
  // and hold two copies at once at the end.
  std::string content;
  struct stat status {};
  if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
    content.resize(static_cast<std::size_t>(status.st_size));
  }
  std::size_t filled = 0;
  // Past the expected end, a small buffer finds out whether the file grew since fstat (or has no size,
  // like a pipe) without enlarging the text first.
  std::array<char, 64 * 1024> more;
  for (;;) {
    const bool atEnd = filled == content.size();
    char* target = atEnd ? more.data() : content.data() + filled;
    const std::size_t room = atEnd ? more.size() : content.size() - filled;
    const ssize_t count = retryingInterrupts([&] { return ::read(fd, target, room); });
    if (count < 0) {
      const int readError = errno;
      ::close(fd);
      throw FileSystemError("read", path, readError);
    }
    if (count == 0) {
      break;
    }
    if (atEnd) {
      content.append(more.data(), static_cast<std::size_t>(count));
    }
    filled += static_cast<std::size_t>(count);
  }
  content.resize(filled);
  ::close(fd);
  return content;
}

std::optional<MappedFile> PosixFileSystem::mapFile(const std::filesystem::path& path) {
  const int fd = retryingInterrupts([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); });
  if (fd < 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return std::nullopt;
    }
    throw FileSystemError("open", path, errno);
  }
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0) {
    // Nothing to map (an empty file cannot be mapped); reading answers all of these.
    ::close(fd);
    return FileSystem::mapFile(path);
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  void* bytes = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  const int mapError = errno;
  // The mapping keeps the file's pages without the descriptor, and a replaced file's pages stay mapped.
  ::close(fd);
  if (bytes == MAP_FAILED) {
    throw FileSystemError("mmap", path, mapError);
  }
  return MappedFile(std::string_view(static_cast<const char*>(bytes), size),
                    [bytes, size] { ::munmap(bytes, size); });
}

void PosixFileSystem::createDirectories(const std::filesystem::path& path, mode_t mode) {
  std::filesystem::path partial;
  for (const auto& component : path) {
    partial /= component;
    if (::mkdir(partial.c_str(), mode) == 0) {
      if (::chmod(partial.c_str(), mode) != 0) {
        throw FileSystemError("chmod", partial, errno);
      }
      continue;
    }
    // EEXIST covers files too, and mkdir on "/" may answer EACCES or EROFS: what counts is a folder there.
    const int mkdirError = errno;
    if (!isDirectory(partial)) {
      throw FileSystemError("mkdir", partial, mkdirError == EEXIST ? ENOTDIR : mkdirError);
    }
  }
}

bool PosixFileSystem::exists(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) {
    return true;
  }
  if (errno == ENOENT || errno == ENOTDIR) {
    return false;
  }
  throw FileSystemError("stat", path, errno);
}

std::filesystem::path PosixFileSystem::pathOf(int fd) {
  std::lock_guard lock(mutex_);
  const auto found = openFiles_.find(fd);
  // A descriptor opened elsewhere is still named by a real path.
  return found != openFiles_.end() ? found->second
                                   : std::filesystem::path("/proc/self/fd/" + std::to_string(fd));
}

} // namespace vantrel
