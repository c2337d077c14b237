#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

namespace vantrel {

/// Replaces files so that a reader sees either the old content or the new, never a mix, also after a crash:
/// a temp file in the target's folder is written, synced, renamed over the target, then the folder is
/// synced. The target's folder must already exist. Renaming over a symlink replaces the link itself.
class AtomicFileWriter {
public:
  /// Temp files end with this; a folder of that name holds temp files too.
  static constexpr std::string_view atomicTempSuffix = ".vantrel.tmp";

  explicit AtomicFileWriter(FileSystem& fileSystem);

  /// Throws AtomicWriteError (writeFailed) naming `target` and the failed step; no temp file is left.
  void writeData(std::string_view bytes, const std::filesystem::path& target,
                 std::filesystem::perms permissions = FileSystem::privateFile) const;
  /// As writeData, after checking that `text` is well-formed UTF-8 (else AtomicWriteError encodingFailed).
  void writeString(std::string_view text, const std::filesystem::path& target,
                   std::filesystem::perms permissions = FileSystem::privateFile) const;

  struct File {
    std::filesystem::path target;
    std::string_view bytes;
  };
  /// Replaces many files, each atomically as writeData does, at the cost of one sync of the file system
  /// instead of two syncs per file: every temp file is written, the file system synced once, then every
  /// temp renamed and each folder synced once. On a failure the files already renamed stay replaced
  /// (each whole), the rest keep their old content, and no temp file is left.
  void writeFiles(std::span<const File> files,
                  std::filesystem::perms permissions = FileSystem::privateFile) const;

  /// Whether `path` is one of our temp files, left behind by a crash and safe to delete.
  static bool isOurTempFile(const std::filesystem::path& path);
  /// Deletes the temp files crashed runs left in `directory` itself (sub-folders are not entered): regular
  /// files for which isOurTempFile holds, last modified at least `minimumAge` ago, so that a temp file
  /// another process is writing right now stays. Answers how many it deleted; a file that vanished
  /// meanwhile is skipped, and a missing folder holds none. Throws FileSystemError when the folder cannot be
  /// read or a stale file cannot be deleted.
  static std::size_t removeStaleTempFiles(const std::filesystem::path& directory,
                                          std::chrono::seconds minimumAge);

private:
  FileSystem& fileSystem_;
};

} // namespace vantrel
