#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace vantrel {

/// Why one bridge file could not be applied. A value, not an exception: a session collects them, and
/// equal errors count once.
class BridgeFileError {
public:
  enum class Kind { parseFailed, unsupportedEdit, readFailed };

  /// The unsupportedEdit reason for a file of a kind the bridge does not write back.
  static constexpr std::string_view unknownFileLocationReason =
      "Unknown file location. Bridge can't apply files outside the known layout.";

  /// `message` is the parser's, which names the file and line.
  static BridgeFileError parseFailed(std::string fileLabel, std::string message) {
    return BridgeFileError(Kind::parseFailed, std::move(fileLabel), std::move(message));
  }
  static BridgeFileError unsupportedEdit(std::string fileLabel, std::string reason) {
    return BridgeFileError(Kind::unsupportedEdit, std::move(fileLabel), std::move(reason));
  }
  static BridgeFileError readFailed(std::string fileLabel, std::string reason) {
    return BridgeFileError(Kind::readFailed, std::move(fileLabel), std::move(reason));
  }

  const std::string& fileLabel() const { return fileLabel_; }
  Kind kind() const { return kind_; }
  /// The parser's message, or the reason.
  const std::string& detail() const { return detail_; }

  /// For people: "Couldn't parse the YAML: <message>", "Can't apply the edit to <file>: <reason>",
  /// "Couldn't read <file>: <reason>".
  std::string description() const;

  std::size_t hash() const;
  friend bool operator==(const BridgeFileError&, const BridgeFileError&) = default;

private:
  BridgeFileError(Kind kind, std::string fileLabel, std::string detail)
      : kind_(kind), fileLabel_(std::move(fileLabel)), detail_(std::move(detail)) {}

  Kind kind_;
  std::string fileLabel_;
  std::string detail_;
};

} // namespace vantrel

template <> struct std::hash<vantrel::BridgeFileError> {
  std::size_t operator()(const vantrel::BridgeFileError& error) const { return error.hash(); }
};
