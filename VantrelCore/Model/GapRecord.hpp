#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A user-defined gap: a planned block on a day, starting at a clock time.
struct GapRecord {
  /// "g-" and six characters.
  std::string recordName{};
  /// The day's record name, which is the day's text form.
  std::string dayRef{};
  /// Start time "HH:mm", 24-hour.
  std::string time{};
  std::optional<std::string> label{};
  /// Notify at the gap's start.
  bool reminder = false;
  std::int64_t sortIndex = 0;

  static constexpr std::string_view typeName = "GapRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &GapRecord::recordName},
                      RecordField{"dayRef", &GapRecord::dayRef},
                      RecordField{"time", &GapRecord::time},
                      RecordField{"label", &GapRecord::label},
                      RecordField{"reminder", &GapRecord::reminder},
                      RecordField{"sortIndex", &GapRecord::sortIndex}};
  }
  friend bool operator==(const GapRecord&, const GapRecord&) = default;
};

} // namespace vantrel
