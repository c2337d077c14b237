#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace vantrel {

/// A file-system call failed. `what()` names the operation and the path, then the system's reason:
/// "rename /a/b.vantrel.tmp -> /a/b: No space left on device". `code()` holds the errno value.
class FileSystemError : public std::system_error {
public:
  FileSystemError(std::string_view operation, const std::filesystem::path& path, int errorNumber);
  /// For operations on two paths: the message shows "from -> to" and `path()` is `from`.
  FileSystemError(std::string_view operation, const std::filesystem::path& from,
                  const std::filesystem::path& to, int errorNumber);

  const std::string& operation() const noexcept { return operation_; }
  const std::filesystem::path& path() const noexcept { return path_; }

private:
  std::string operation_;
  std::filesystem::path path_;
};

} // namespace vantrel
