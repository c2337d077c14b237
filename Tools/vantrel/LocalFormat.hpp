#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <string>
#include <string_view>

namespace vantrel::cli {

/// Days and times as the device's locale writes them (its order of fields, its month names, its 12- or
/// 24-hour clock), in the device zone: ICU's skeletons turned into the locale's own patterns.
class LocalFormat {
public:
  LocalFormat() = delete;

  /// "9:05 AM", "09:05".
  static std::string timeOfDay(Date instant);
  /// A gap's "HH:mm" on the locale's clock; other text as it is.
  static std::string timeOfDay(std::string_view hoursAndMinutes);
  /// "9:00 – 10:30 AM" as the locale joins them.
  static std::string timeRange(Date start, Date end);
  /// "Tuesday, November 24, 2026", "mardi 24 novembre 2026".
  static std::string longDay(const CalendarDate& day);
  /// "Tue, Nov 24", "mar. 24 nov.": with the year only when it is not the year of `today`.
  static std::string shortDay(const CalendarDate& day, const CalendarDate& today);
  /// A day and time: "Nov 24, 2026, 9:05 AM".
  static std::string instant(Date instant);
};

} // namespace vantrel::cli
