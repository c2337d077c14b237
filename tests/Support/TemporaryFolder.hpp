#pragma once

#include <filesystem>

namespace vantrel::testing {

/// A fresh folder under the system's temporary folder, removed with everything in it at the end.
class TemporaryFolder {
public:
  TemporaryFolder();
  /// Under `parent` instead, e.g. a memory file system for a test that writes a great deal.
  explicit TemporaryFolder(const std::filesystem::path& parent);
  /// A memory file system when the machine has one (syncs cost nothing there), else the temporary folder.
  static TemporaryFolder inMemory();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

private:
  std::filesystem::path path_;
};

} // namespace vantrel::testing
