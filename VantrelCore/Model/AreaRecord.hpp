#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// An area of life or work; holds projects (through per-user placements) and area-level tasks.
struct AreaRecord {
  /// The area's slug, unique among areas.
  std::string recordName{};
  /// Display name; trimmed on creation, "Untitled" when empty.
  std::string name{};
  /// Colour name from the area colour palette.
  std::string color{};
  /// Symbol name of the area's icon.
  std::string icon{};
  std::int64_t sortIndex = 0;
  /// Hidden from the main views.
  bool isHidden = false;

  static constexpr std::string_view typeName = "AreaRecord";
  static constexpr auto fields() {
    return std::tuple{
        RecordField{"recordName", &AreaRecord::recordName}, RecordField{"name", &AreaRecord::name},
        RecordField{"color", &AreaRecord::color},           RecordField{"icon", &AreaRecord::icon},
        RecordField{"sortIndex", &AreaRecord::sortIndex},   RecordField{"isHidden", &AreaRecord::isHidden}};
  }
  friend bool operator==(const AreaRecord&, const AreaRecord&) = default;
};

} // namespace vantrel
