#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A header inside an area, private to the user who made it. Its sort index shares one sequence with
/// that user's project placements in the area.
struct AreaSectionRecord {
  /// "h-" and six characters.
  std::string recordName{};
  std::string userRef{};
  std::string areaRef{};
  std::string title{};
  std::int64_t sortIndex = 0;
  bool collapsed = false;

  static constexpr std::string_view typeName = "AreaSectionRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &AreaSectionRecord::recordName},
                      RecordField{"userRef", &AreaSectionRecord::userRef},
                      RecordField{"areaRef", &AreaSectionRecord::areaRef},
                      RecordField{"title", &AreaSectionRecord::title},
                      RecordField{"sortIndex", &AreaSectionRecord::sortIndex},
                      RecordField{"collapsed", &AreaSectionRecord::collapsed}};
  }
  friend bool operator==(const AreaSectionRecord&, const AreaSectionRecord&) = default;
};

} // namespace vantrel
