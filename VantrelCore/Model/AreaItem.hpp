#pragma once

#include "VantrelCore/Model/AreaSectionRecord.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vantrel {

/// One row of an area's content list: a project the user placed there, or one of the user's headers.
/// Built on demand, never stored.
struct AreaItem {
  std::string id;
  /// The placement's index for a project, the header's own for a header: one shared sequence.
  std::int64_t sortIndex = 0;
  std::variant<ProjectRecord, AreaSectionRecord> kind;

  static AreaItem project(ProjectRecord project, std::int64_t placementSortIndex);
  static AreaItem header(AreaSectionRecord header);

  bool isProject() const { return std::holds_alternative<ProjectRecord>(kind); }
  bool isHeader() const { return std::holds_alternative<AreaSectionRecord>(kind); }

  /// Ascending sort index; equal indexes fall back to the id so the order is the same on every device.
  static void sort(std::vector<AreaItem>& items);

  friend bool operator==(const AreaItem&, const AreaItem&) = default;
};

} // namespace vantrel
