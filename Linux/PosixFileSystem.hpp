#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

namespace vantrel {

/// The file system through POSIX calls. Descriptors are opened close-on-exec; errors name the path a file
/// was opened at. Safe to use from several threads.
class PosixFileSystem : public FileSystem {
public:
  /// One instance for the whole process.
  static PosixFileSystem& shared();

  std::unique_ptr<WritableFile> createExclusive(const std::filesystem::path& path,
                                                std::filesystem::perms permissions = privateFile) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  void syncDirectory(const std::filesystem::path& directory) override;
  void syncFileSystem(const std::filesystem::path& path) override;
  void removeFile(const std::filesystem::path& path) override;
  std::optional<std::string> readFile(const std::filesystem::path& path) override;
  /// Maps the file read-only with its pages read in at once.
  std::optional<MappedFile> mapFile(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path,
                         std::filesystem::perms permissions = privateFolder) override;
  bool exists(const std::filesystem::path& path) override;
  /// An flock on the lock file (see PosixFileLock).
  std::unique_ptr<FileLock> lockExclusive(const std::filesystem::path& lockFile,
                                          const FileLock::Wait& wait) override;
};

} // namespace vantrel
