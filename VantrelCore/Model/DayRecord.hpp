#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A calendar day that holds gaps. Named by the day's text, so every device names the same day alike.
struct DayRecord {
  /// The day's text form, for example 2026-03-07.
  std::string recordName{};
  /// Noon UTC of the day.
  Date date{};

  static constexpr std::string_view typeName = "DayRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &DayRecord::recordName},
                      RecordField{"date", &DayRecord::date}};
  }
  friend bool operator==(const DayRecord&, const DayRecord&) = default;
};

} // namespace vantrel
