#pragma once

#include "VantrelCore/Platform/FileSystem.hpp"

#include <array>
#include <map>
#include <vector>

namespace vantrel::testing {

/// The real file system, except that chosen calls fail with a chosen errno, as a full or failing disk
/// would. A failing call does not perform its step, except close, which releases the file as Linux does.
/// Counts calls per step (a file closed by its end counts as a close) and remembers every path it was
/// asked to create.
class FaultInjectingFileSystem : public FileSystem {
public:
  enum class Step { create, write, syncFile, close, rename, syncDirectory, syncFileSystem, lock, read };

  FaultInjectingFileSystem();

  /// Makes the `nth` call (from 1) of `step` fail with `errorNumber`.
  void failCall(Step step, int nth, int errorNumber);

  /// The exit status of a process stopped by stopProcessAtChange(), as a shell shows a SIGKILL.
  static constexpr int stoppedExitStatus = 137;
  /// Counts, in order, every call that changes what is on disk (create, write, fsync of a file, rename,
  /// sync of a folder or the file system, remove; not a lock, which guards files rather than changing
  /// them, nor a read); the `nth` (from 1) ends the process on the spot, before it happens, as a kill at
  /// that instant would.
  void stopProcessAtChange(int nth) { stopAtChange_ = nth; }
  /// The `nth` call that changes what is on disk fails with `errorNumber` instead, like a disk that fills.
  void failChange(int nth, int errorNumber);
  int changeCount() const { return changes_; }
  /// Counts syncs without making them: what a stopped process leaves does not depend on them, and tests
  /// that stop thousands of runs need not wait for the disk.
  void skipSyncs() { skipSyncs_ = true; }
  int callCount(Step step) const { return counts_[index(step)]; }
  /// In call order, failed calls included.
  const std::vector<std::filesystem::path>& createRequests() const { return createRequests_; }

  std::unique_ptr<WritableFile> createExclusive(const std::filesystem::path& path,
                                                std::filesystem::perms permissions = privateFile) override;
  void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  void syncDirectory(const std::filesystem::path& directory) override;
  void syncFileSystem(const std::filesystem::path& path) override;
  void removeFile(const std::filesystem::path& path) override;
  std::optional<std::string> readFile(const std::filesystem::path& path) override;
  void createDirectories(const std::filesystem::path& path,
                         std::filesystem::perms permissions = privateFolder) override;
  bool exists(const std::filesystem::path& path) override;
  std::unique_ptr<FileLock> lockExclusive(const std::filesystem::path& lockFile,
                                          const FileLock::Wait& wait) override;

private:
  class File;

  static constexpr std::size_t index(Step step) { return static_cast<std::size_t>(step); }
  /// Counts the call; answers the errno to fail with, or 0.
  int countCall(Step step);
  /// Counts a change of the disk; stops the process or answers the errno to fail with, or 0.
  int countChange();

  FileSystem& real_;
  std::array<int, 9> counts_{};
  std::map<std::pair<Step, int>, int> faults_;
  std::vector<std::filesystem::path> createRequests_;
  int changes_ = 0;
  int stopAtChange_ = 0;
  int failAtChange_ = 0;
  int changeError_ = 0;
  bool skipSyncs_ = false;
};

} // namespace vantrel::testing
