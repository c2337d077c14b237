#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// Where one user files a project: the area, the order there (shared with that area's headers) and the pin.
struct UserProjectPlacementRecord {
  /// "up-" and 16 hex digits of SHA-256 over user and project.
  std::string recordName{};
  std::string userRef{};
  std::string projectRef{};
  std::string areaRef{};
  std::int64_t sortIndex = 0;
  bool isPinned = false;

  static constexpr std::string_view typeName = "UserProjectPlacementRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &UserProjectPlacementRecord::recordName},
                      RecordField{"userRef", &UserProjectPlacementRecord::userRef},
                      RecordField{"projectRef", &UserProjectPlacementRecord::projectRef},
                      RecordField{"areaRef", &UserProjectPlacementRecord::areaRef},
                      RecordField{"sortIndex", &UserProjectPlacementRecord::sortIndex},
                      RecordField{"isPinned", &UserProjectPlacementRecord::isPinned}};
  }
  friend bool operator==(const UserProjectPlacementRecord&, const UserProjectPlacementRecord&) = default;
};

} // namespace vantrel
