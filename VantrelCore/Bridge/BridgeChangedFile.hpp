#pragma once

#include "VantrelCore/Bridge/BridgeFileKind.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// A bridge file that differs from what was written, with its text then and now, for the apply step.
struct BridgeChangedFile {
  /// The kinds of file the apply step tells apart.
  enum class Kind { project, areaTasks, inbox, unknown };

  /// Relative to the bridge folder, "/"-separated.
  std::string relativePath{};
  Kind kind = Kind::unknown;
  /// As written at checkout; none for a file that was not written then.
  std::optional<std::string> beforeYAML{};
  /// As it is now; none for a file that is gone.
  std::optional<std::string> afterYAML{};

  /// Project files, archived or not, are `project`, area tasks files `areaTasks`, the inbox `inbox`;
  /// everything else, days and the areas file included, `unknown`.
  static Kind kindOf(const BridgeFileKind& fileKind);
  /// The file at `relativePath`, its kind from where it lies.
  static BridgeChangedFile of(std::string relativePath, std::optional<std::string> beforeYAML,
                              std::optional<std::string> afterYAML);

  friend bool operator==(const BridgeChangedFile&, const BridgeChangedFile&) = default;
};

} // namespace vantrel
