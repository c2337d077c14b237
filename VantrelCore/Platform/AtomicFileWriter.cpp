#include "VantrelCore/Platform/AtomicFileWriter.hpp"

#include "VantrelCore/Platform/AtomicWriteError.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vantrel {
namespace {

// A crash leaves its temp files behind, and a container runs every start under the same pid, so a name
// can already be taken; a few fresh names are tried before giving up.
constexpr int maximumTempNameAttempts = 16;

// File names may be at most 255 bytes; the temp name borrows only as much of the target's name as leaves
// room for its own tail, so a target with a long name can still be written.
constexpr std::size_t maximumBorrowedNameBytes = 200;

std::filesystem::path nextTempPath(const std::filesystem::path& target) {
  static std::atomic<std::uint64_t> counter{0};
  const std::string name = target.filename().string().substr(0, maximumBorrowedNameBytes) + "." +
                           std::to_string(::getpid()) + "-" + std::to_string(++counter) +
                           std::string(AtomicFileWriter::atomicTempSuffix);
  return target.parent_path() / name;
}

struct TempFile {
  std::unique_ptr<WritableFile> file;
  std::filesystem::path path;
};

/// Creates a temp file beside `target` under a fresh name.
TempFile createTemp(FileSystem& fileSystem, const std::filesystem::path& target,
                    std::filesystem::perms permissions) {
  for (int attempt = 1;; ++attempt) {
    auto candidate = nextTempPath(target);
    try {
      auto file = fileSystem.createExclusive(candidate, permissions);
      return {std::move(file), std::move(candidate)};
    } catch (const FileSystemError& error) {
      if (error.code() != std::errc::file_exists || attempt == maximumTempNameAttempts) {
        throw;
      }
    }
  }
}

std::filesystem::path directoryOf(const std::filesystem::path& target) {
  return target.has_parent_path() ? target.parent_path() : ".";
}

} // namespace

AtomicFileWriter::AtomicFileWriter(FileSystem& fileSystem) : fileSystem_(fileSystem) {}

void AtomicFileWriter::writeData(std::string_view bytes, const std::filesystem::path& target,
                                 std::filesystem::perms permissions) const {
  const std::filesystem::path directory = directoryOf(target);
  std::filesystem::path tempPath;
  bool renamed = false;
  // Undoes what was done so far, once the temp file is closed; its own failures cannot be reported better
  // than the one being thrown.
  auto discardTemp = [&] {
    if (!tempPath.empty() && !renamed) {
      try {
        fileSystem_.removeFile(tempPath);
      } catch (const FileSystemError&) {
      }
    }
  };
  try {
    auto temp = createTemp(fileSystem_, target, permissions);
    tempPath = temp.path;
    temp.file->write(bytes);
    // A failed fsync is never retried: the kernel may already have dropped the dirty pages it reported.
    temp.file->sync();
    temp.file->close();
    fileSystem_.rename(tempPath, target);
    renamed = true;
    fileSystem_.syncDirectory(directory);
  } catch (const FileSystemError& error) {
    discardTemp();
    throw AtomicWriteError::writeFailed(target, error);
  } catch (...) {
    discardTemp();
    throw;
  }
}

void AtomicFileWriter::writeFiles(std::span<const File> files, std::filesystem::perms permissions) const {
  std::vector<std::filesystem::path> temps;
  temps.reserve(files.size());
  std::size_t renamed = 0;
  std::set<std::filesystem::path> directories;
  for (const auto& file : files) {
    directories.insert(directoryOf(file.target));
  }
  // What the failing step was about, for the error; it outlives the try block.
  const std::filesystem::path* failing = nullptr;
  // Removes the temp files not renamed yet; its own failures cannot be reported better than the one
  // being thrown.
  const auto discardTemps = [&] {
    for (std::size_t index = renamed; index < temps.size(); ++index) {
      try {
        fileSystem_.removeFile(temps[index]);
      } catch (const FileSystemError&) {
      }
    }
  };
  try {
    for (const auto& file : files) {
      failing = &file.target;
      auto temp = createTemp(fileSystem_, file.target, permissions);
      temps.push_back(temp.path);
      temp.file->write(file.bytes);
      temp.file->close();
    }
    for (const auto& directory : directories) {
      failing = &directory;
      fileSystem_.syncFileSystem(directory);
    }
    for (; renamed < files.size(); ++renamed) {
      failing = &files[renamed].target;
      fileSystem_.rename(temps[renamed], files[renamed].target);
    }
    for (const auto& directory : directories) {
      failing = &directory;
      fileSystem_.syncDirectory(directory);
    }
  } catch (const FileSystemError& error) {
    discardTemps();
    throw AtomicWriteError::writeFailed(*failing, error);
  } catch (...) {
    discardTemps();
    throw;
  }
}

void AtomicFileWriter::writeString(std::string_view text, const std::filesystem::path& target,
                                   std::filesystem::perms permissions) const {
  if (!isValidUTF8(text)) {
    throw AtomicWriteError::encodingFailed(target);
  }
  writeData(text, target, permissions);
}

bool AtomicFileWriter::isOurTempFile(const std::filesystem::path& path) {
  // The leading "/" lets the first folder of a relative path count as well.
  const std::string text = "/" + path.generic_string();
  return text.ends_with(atomicTempSuffix) ||
         text.find("/" + std::string(atomicTempSuffix) + "/") != std::string::npos;
}

std::size_t AtomicFileWriter::removeStaleTempFiles(const std::filesystem::path& directory,
                                                   std::chrono::seconds minimumAge) {
  const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    if (errno == ENOENT) {
      return 0;
    }
    throw FileSystemError("open", directory, errno);
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::fdopendir(fd), ::closedir);
  if (!folder) {
    const int openError = errno;
    ::close(fd);
    throw FileSystemError("fdopendir", directory, openError);
  }
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  std::size_t removed = 0;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(folder.get());
    if (entry == nullptr) {
      if (errno != 0) {
        throw FileSystemError("readdir", directory, errno);
      }
      return removed;
    }
    const std::string name = entry->d_name;
    if (name == "." || name == ".." || !isOurTempFile(directory / name)) {
      continue;
    }
    // Another process may finish its write (renaming the temp away) or clean up at any moment: a file
    // gone between the listing and here is simply no longer stale.
    struct stat status {};
    if (::fstatat(fd, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) {
        continue;
      }
      throw FileSystemError("stat", directory / name, errno);
    }
    if (!S_ISREG(status.st_mode) || now.tv_sec - status.st_mtim.tv_sec < minimumAge.count()) {
      continue;
    }
    if (::unlinkat(fd, name.c_str(), 0) != 0) {
      if (errno == ENOENT) {
        continue;
      }
      throw FileSystemError("unlink", directory / name, errno);
    }
    ++removed;
  }
}

} // namespace vantrel
