#pragma once

#include "VantrelCore/Platform/FileLock.hpp"
#include "VantrelCore/Platform/MappedFile.hpp"
#include "VantrelCore/Platform/WritableFile.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vantrel {

/// The file-system calls the system makes: the steps of an atomic replace plus a few basics. It is a seam
/// so tests can make any step fail. Every call throws FileSystemError on failure. What the program creates
/// is private to its user unless a caller asks otherwise.
class FileSystem {
public:
  static constexpr auto privateFile =
      std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  static constexpr auto privateFolder = std::filesystem::perms::owner_all;

  virtual ~FileSystem() = default;

  /// Creates a new file that must not exist yet, with exactly `permissions` whatever the umask, and opens
  /// it for writing.
  virtual std::unique_ptr<WritableFile> createExclusive(const std::filesystem::path& path,
                                                        std::filesystem::perms permissions = privateFile) = 0;
  virtual void rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
  /// Makes the folder's entries (a rename into it) durable.
  virtual void syncDirectory(const std::filesystem::path& directory) = 0;
  /// Makes everything written to the file system that holds `path` durable: one call for many files.
  virtual void syncFileSystem(const std::filesystem::path& path) = 0;
  /// Removing a file that does not exist is not an error.
  virtual void removeFile(const std::filesystem::path& path) = 0;
  /// The whole file; empty when it does not exist.
  virtual std::optional<std::string> readFile(const std::filesystem::path& path) = 0;
  /// The whole file without a copy where the system can map it; empty when it does not exist. By default
  /// it is read.
  virtual std::optional<MappedFile> mapFile(const std::filesystem::path& path) {
    auto text = readFile(path);
    if (!text) {
      return std::nullopt;
    }
    auto owned = std::make_shared<std::string>(std::move(*text));
    return MappedFile(*owned, [owned] {});
  }
  /// Creates the folder and any missing parents, each with exactly `permissions`; existing folders are
  /// fine and keep theirs.
  virtual void createDirectories(const std::filesystem::path& path,
                                 std::filesystem::perms permissions = privateFolder) = 0;
  virtual bool exists(const std::filesystem::path& path) = 0;
  /// Takes an exclusive lock on `lockFile`, waiting for another holder as `wait` says; throws
  /// LockTimeoutError when the time is up. The lock file is created private and never opened through a
  /// symbolic link, so a link planted in its place cannot make the program create or write a file
  /// elsewhere. It is left in place on release: deleting it would let two holders lock different files.
  virtual std::unique_ptr<FileLock> lockExclusive(const std::filesystem::path& lockFile,
                                                  const FileLock::Wait& wait) = 0;
};

} // namespace vantrel
