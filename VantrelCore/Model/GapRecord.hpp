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
  /// Start time "HH:mm", 24-hour. Older data and other writers may leave out the hour's leading zero.
  std::string time{};
  std::optional<std::string> label{};
  /// Notify at the gap's start.
  bool reminder = false;
  std::int64_t sortIndex = 0;

  /// Minutes since midnight of a gap time: "09:05" and "9:05" are 545. Hour and minute are whole decimal
  /// numbers (a leading '+' allowed, empty pieces between the colons dropped, as in "12::30"), the hour
  /// 0 to 23, the minute 0 to 59; "24:00", "12:60", "12", "12:00:00" and "ab:cd" are no time of day.
  static std::optional<int> minutesOfDay(std::string_view time);
  /// Whether two gap times name the same time of day; texts that are none are the same only as text.
  static bool sameTime(std::string_view left, std::string_view right);
  /// A gap time as the planner writes it, "HH:mm"; a text that is no time of day comes back unchanged.
  static std::string normalizedTime(std::string_view time);
  /// Gaps in the order of their day: by time of day, then by sort index. Times that cannot be read come
  /// last, by their text.
  static bool dayOrder(const GapRecord& left, const GapRecord& right);

  std::optional<int> startMinutes() const { return minutesOfDay(time); }

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
