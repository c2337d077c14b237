#include "Linux/PosixFileSystem.hpp"

#include "Linux/PosixFileLock.hpp"
#include "Linux/PosixWritableFile.hpp"
#include "Linux/UniqueFileDescriptor.hpp"
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

mode_t modeOf(std::filesystem::perms permissions) {
  return static_cast<mode_t>(permissions & std::filesystem::perms::mask);
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

std::unique_ptr<WritableFile> PosixFileSystem::createExclusive(const std::filesystem::path& path,
                                                               std::filesystem::perms permissions) {
  const mode_t mode = modeOf(permissions);
  UniqueFileDescriptor descriptor(retryingInterrupts(
      [&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); }));
  if (!descriptor) {
    throw FileSystemError("create", path, errno);
  }
  // The umask may have taken bits the mode asked for (an owner's own write bit under 0277); the mode
  // asked for is what the file gets.
  if (::fchmod(descriptor.get(), mode) != 0) {
    const int error = errno;
    descriptor.reset();
    ::unlink(path.c_str());
    throw FileSystemError("chmod", path, error);
  }
  return std::make_unique<PosixWritableFile>(std::move(descriptor), path);
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
  const UniqueFileDescriptor descriptor(
      retryingInterrupts([&] { return ::open(path.c_str(), flags | O_CLOEXEC); }));
  if (!descriptor) {
    throw FileSystemError("open", path, errno);
  }
  if (sync(descriptor.get()) != 0) {
    throw FileSystemError(name, path, errno);
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
  const UniqueFileDescriptor descriptor(
      retryingInterrupts([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
  const int fd = descriptor.get();
  if (!descriptor) {
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
      throw FileSystemError("read", path, errno);
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
  return content;
}

std::optional<MappedFile> PosixFileSystem::mapFile(const std::filesystem::path& path) {
  UniqueFileDescriptor descriptor(
      retryingInterrupts([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
  const int fd = descriptor.get();
  if (!descriptor) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return std::nullopt;
    }
    throw FileSystemError("open", path, errno);
  }
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0) {
    // Nothing to map (an empty file cannot be mapped); reading answers all of these.
    descriptor.reset();
    return FileSystem::mapFile(path);
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  void* bytes = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  const int mapError = errno;
  // The mapping keeps the file's pages without the descriptor, and a replaced file's pages stay mapped.
  descriptor.reset();
  if (bytes == MAP_FAILED) {
    throw FileSystemError("mmap", path, mapError);
  }
  return MappedFile(std::string_view(static_cast<const char*>(bytes), size),
                    [bytes, size] { ::munmap(bytes, size); });
}

void PosixFileSystem::createDirectories(const std::filesystem::path& path,
                                        std::filesystem::perms permissions) {
  const mode_t mode = modeOf(permissions);
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

std::unique_ptr<FileLock> PosixFileSystem::lockExclusive(const std::filesystem::path& lockFile,
                                                         const FileLock::Wait& wait) {
  return std::make_unique<PosixFileLock>(lockFile, wait);
}

} // namespace vantrel
