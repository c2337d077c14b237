#pragma once

#include "VantrelCore/Platform/Preferences.hpp"

#include <cstdint>
#include <string_view>

namespace vantrel {

/// The user's planning window and shortest useful gap, kept in the planner's own preferences and in the
/// shared ones the widget reads. Zero means not set: a stored 0 reads as the default, so hour 0 and a
/// minimum of 0 minutes cannot be kept.
class CalendarGapPreferences {
public:
  static constexpr std::int64_t defaultStartHour = 8;
  static constexpr std::int64_t defaultEndHour = 20;
  static constexpr std::int64_t defaultMinMinutes = 15;
  static constexpr std::string_view dayStartHourKey = "com.vantrel.calendarGap.dayStartHour";
  static constexpr std::string_view dayEndHourKey = "com.vantrel.calendarGap.dayEndHour";
  static constexpr std::string_view minMinutesKey = "com.vantrel.calendarGap.minMinutes";

  /// `shared` is null when the app-group store cannot be opened.
  CalendarGapPreferences(Preferences& standard, Preferences* shared) : standard_(standard), shared_(shared) {}

  /// Reads prefer the shared store; a value found only in the standard store (written by older versions)
  /// is copied to the shared one on the way.
  std::int64_t dayStartHour() const { return read(dayStartHourKey, defaultStartHour); }
  std::int64_t dayEndHour() const { return read(dayEndHourKey, defaultEndHour); }
  std::int64_t minMinutes() const { return read(minMinutesKey, defaultMinMinutes); }
  /// Writes go to the standard store, then to the shared one.
  void setDayStartHour(std::int64_t hour) { write(dayStartHourKey, hour); }
  void setDayEndHour(std::int64_t hour) { write(dayEndHourKey, hour); }
  void setMinMinutes(std::int64_t minutes) { write(minMinutesKey, minutes); }

private:
  std::int64_t read(std::string_view key, std::int64_t fallback) const;
  void write(std::string_view key, std::int64_t value);

  Preferences& standard_;
  Preferences* shared_;
};

} // namespace vantrel
