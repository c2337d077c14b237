#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// areas.yaml as the editor left it. It is informational: its edits are reported, never applied.
struct AreasFile {
  struct Area {
    std::string folder{};
    std::string name{};
    std::string color{};
    std::string icon{};
    friend bool operator==(const Area&, const Area&) = default;
  };

  std::vector<Area> areas{};
  std::vector<std::string> pinned{};

  /// Throws YAMLParseError naming the file and the line.
  static AreasFile parse(std::string_view text, std::string fileLabel);

  friend bool operator==(const AreasFile&, const AreasFile&) = default;
};

} // namespace vantrel
