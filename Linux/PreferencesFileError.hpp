#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace vantrel {

/// A preferences file exists but cannot be understood: "preferences file <path> is unreadable: <reason>".
/// Such a file is never overwritten, so whatever it holds can still be rescued by hand.
class PreferencesFileError : public std::runtime_error {
public:
  PreferencesFileError(const std::filesystem::path& file, const std::string& reason);

  const std::filesystem::path& file() const noexcept { return file_; }
  const std::string& reason() const noexcept { return reason_; }

private:
  std::filesystem::path file_;
  std::string reason_;
};

} // namespace vantrel
