#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantrel {

/// A bridge file that cannot be read: what() is "<file>:<line>: <reason>", or "<file>: <reason>" when the
/// fault has no line (a file too big to parse at all).
class YAMLParseError : public std::runtime_error {
public:
  YAMLParseError(std::string fileLabel, std::optional<std::size_t> line, std::string reason);

  const std::string& fileLabel() const noexcept { return fileLabel_; }
  /// 1-based.
  std::optional<std::size_t> line() const noexcept { return line_; }
  const std::string& reason() const noexcept { return reason_; }

  /// Text from a file as a reason shows it: in single quotes, control characters escaped (a file must not
  /// drive the terminal that shows the message) and anything past 60 bytes cut off with "…".
  static std::string quoted(std::string_view text);

private:
  std::string fileLabel_;
  std::optional<std::size_t> line_;
  std::string reason_;
};

} // namespace vantrel
