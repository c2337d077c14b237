#pragma once

#include "VantrelCore/Bridge/BridgeTaskItem.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// An area's own tasks file as the editor left it: the tasks in display order, no sections.
struct AreaTasksFile {
  std::vector<BridgeTaskItem> tasks{};

  /// Throws YAMLParseError naming the file and the line.
  static AreaTasksFile parse(std::string_view text, std::string fileLabel);

  friend bool operator==(const AreaTasksFile&, const AreaTasksFile&) = default;
};

} // namespace vantrel
