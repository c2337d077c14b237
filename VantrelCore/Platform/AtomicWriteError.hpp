#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace vantrel {

/// Replacing a file atomically failed; the target keeps its previous content unless only the final folder
/// sync failed.
///
/// writeFailed: "atomic write to <path> failed: <underlying error>";
/// encodingFailed: "string content could not be encoded as UTF-8".
class AtomicWriteError : public std::runtime_error {
public:
  enum class Kind { writeFailed, encodingFailed };

  static AtomicWriteError writeFailed(const std::filesystem::path& target,
                                      const std::system_error& underlying);
  static AtomicWriteError encodingFailed(const std::filesystem::path& target);

  Kind kind() const noexcept { return kind_; }
  const std::filesystem::path& targetPath() const noexcept { return targetPath_; }
  /// The errno of the failed step; empty for encodingFailed.
  std::error_code underlyingCode() const noexcept { return underlyingCode_; }

private:
  AtomicWriteError(Kind kind, const std::string& message, std::filesystem::path target, std::error_code code);

  Kind kind_;
  std::filesystem::path targetPath_;
  std::error_code underlyingCode_;
};

} // namespace vantrel
