#pragma once

#include "VantrelCore/Platform/MappedFile.hpp"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace vantrel {

/// The file-system calls the system makes: the steps of an atomic replace plus a few basics. It is a seam
/// so tests can make any step fail. Every call throws FileSystemError on failure.
class FileSystem {
public:
  virtual ~FileSystem() = default;

  /// Creates a new file that must not exist yet and opens it for writing; answers the descriptor.
  virtual int createExclusive(const std::filesystem::path& path, mode_t mode = 0600) = 0;
  /// Writes every byte, continuing after partial writes and interruptions.
  virtual void writeAll(int fd, std::string_view bytes) = 0;
  virtual void syncFile(int fd) = 0;
  /// The descriptor is released even when this throws; never close it again.
  virtual void closeFile(int fd) = 0;
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
  /// Creates the folder and any missing parents; existing folders are fine.
  virtual void createDirectories(const std::filesystem::path& path, mode_t mode = 0700) = 0;
  virtual bool exists(const std::filesystem::path& path) = 0;
};

} // namespace vantrel
