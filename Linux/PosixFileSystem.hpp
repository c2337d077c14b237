#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <mutex>
#include <unordered_map>

namespace vantrel {

/// The file system through POSIX calls. Descriptors are opened close-on-exec; errors name the path a
/// descriptor was created for. Safe to use from several threads.
class PosixFileSystem : public FileSystem {
public:
  /// One instance for the whole process.
  static PosixFileSystem& shared();

  int createExclusive(const std::filesystem::path& path, mode_t mode = 0600) override;
  void writeAll(int fd, std::string_view bytes) override;
  void syncFile(int fd) override;
  void closeFile(int fd) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  void syncDirectory(const std::filesystem::path& directory) override;
  void syncFileSystem(const std::filesystem::path& path) override;
  void removeFile(const std::filesystem::path& path) override;
  std::optional<std::string> readFile(const std::filesystem::path& path) override;
  /// Maps the file read-only with its pages read in at once.
  std::optional<MappedFile> mapFile(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path, mode_t mode = 0700) override;
  bool exists(const std::filesystem::path& path) override;

private:
  std::filesystem::path pathOf(int fd);

  std::mutex mutex_;
  std::unordered_map<int, std::filesystem::path> openFiles_;
};

} // namespace vantrel
