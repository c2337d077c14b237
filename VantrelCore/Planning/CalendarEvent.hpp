#pragma once

#include "VantrelCore/Planning/RGBColor.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// One event of the user's calendars on a day. Two events with the same id are the same event, whatever
/// their other fields say.
struct CalendarEvent {
  std::string id{};
  std::string title{};
  Date start{};
  Date end{};
  bool isAllDay = false;
  std::string calendarName{};
  std::optional<RGBColor> calendarColorRGB{};

  double duration() const { return end.timeIntervalSince(start); }

  /// The order a day's events are listed in: all-day ones first, then by start, then by title.
  static bool dayDisplayOrder(const CalendarEvent& left, const CalendarEvent& right) {
    if (left.isAllDay != right.isAllDay) {
      return left.isAllDay;
    }
    if (left.start != right.start) {
      return left.start < right.start;
    }
    return left.title < right.title;
  }

  friend bool operator==(const CalendarEvent& left, const CalendarEvent& right) {
    return left.id == right.id;
  }
};

} // namespace vantrel
