#include "VantrelCore/Planning/CalendarGapEngine.hpp"

#include "VantrelCore/Platform/ProgramError.hpp"

#include <algorithm>
#include <limits>

namespace vantrel {
namespace {

struct DayWindow {
  Date start;
  Date end;
};

std::optional<Date> hourOf(const CalendarDate& day, std::int64_t hour) {
  if (hour < std::numeric_limits<int>::min() || hour > std::numeric_limits<int>::max()) {
    return std::nullopt;
  }
  return day.localTime(int(hour));
}

std::optional<DayWindow> dayWindow(const CalendarDate& day, std::int64_t startHour, std::int64_t endHour) {
  const auto start = hourOf(day, startHour);
  const auto end = hourOf(day, endHour);
  if (!start || !end || !(*start < *end)) {
    return std::nullopt;
  }
  return DayWindow{*start, *end};
}

/// The timed events, by start; events with equal starts keep their given order.
std::vector<const CalendarEvent*> timedByStart(std::span<const CalendarEvent> events) {
  std::vector<const CalendarEvent*> timed;
  for (const auto& event : events) {
    if (!event.isAllDay) {
      timed.push_back(&event);
    }
  }
  std::ranges::stable_sort(timed, {}, [](const CalendarEvent* event) { return event->start; });
  return timed;
}

} // namespace

std::vector<CalendarGap> CalendarGapEngine::compute(const CalendarDate& day,
                                                    std::span<const CalendarEvent> events,
                                                    std::int64_t dayStartHour, std::int64_t dayEndHour,
                                                    std::int64_t minimumMinutes) {
  const auto window = dayWindow(day, dayStartHour, dayEndHour);
  if (!window) {
    return {};
  }
  std::int64_t threshold = 0;
  if (__builtin_mul_overflow(minimumMinutes, std::int64_t{60}, &threshold)) {
    programError("CalendarGapEngine: minimum of " + std::to_string(minimumMinutes) + " minutes overflows");
  }
  std::vector<CalendarGap> gaps;
  const auto offer = [&](Date from, Date to) {
    if (to.timeIntervalSince(from) >= double(threshold)) {
      gaps.push_back(CalendarGap::between(from, to));
    }
  };
  Date cursor = window->start;
  for (const auto* event : timedByStart(events)) {
    const Date clippedStart = window->start >= event->start ? window->start : event->start;
    const Date clippedEnd = window->end <= event->end ? window->end : event->end;
    if (!(clippedStart < clippedEnd)) {
      // Deliberately the end of the sweep, not a skip: later events are not looked at.
      break;
    }
    if (cursor < clippedStart) {
      offer(cursor, clippedStart);
    }
    cursor = std::max(cursor, clippedEnd);
  }
  if (cursor < window->end) {
    offer(cursor, window->end);
  }
  return gaps;
}

std::vector<CalendarGap> CalendarGapEngine::openWindows(const CalendarDate& day,
                                                        std::span<const CalendarEvent> events,
                                                        const CalendarGapPreferences& preferences) {
  return compute(day, events, preferences.dayStartHour(), preferences.dayEndHour(), preferences.minMinutes());
}

const CalendarEvent* CalendarGapEngine::containingEvent(Date instant, std::span<const CalendarEvent> events) {
  for (const auto* event : timedByStart(events)) {
    if (instant >= event->start && instant < event->end) {
      return event;
    }
  }
  return nullptr;
}

std::optional<TaskGapEnd> CalendarGapEngine::endTime(Date start, const CalendarDate& day,
                                                     std::span<const CalendarEvent> events,
                                                     std::span<const Date> otherTaskGapStarts,
                                                     std::int64_t dayStartHour, std::int64_t dayEndHour) {
  const auto window = dayWindow(day, dayStartHour, dayEndHour);
  if (!window) {
    return std::nullopt;
  }
  if (const auto* event = containingEvent(start, events)) {
    return TaskGapEnd{event->end, TaskGapEndSource::containingEvent};
  }
  const auto timed = timedByStart(events);
  enum class Zone { before, inside, after };
  const auto zoneOf = [&](Date instant) {
    return instant < window->start ? Zone::before : instant >= window->end ? Zone::after : Zone::inside;
  };
  const Zone zone = zoneOf(start);
  std::optional<Date> end;
  const auto consider = [&](Date candidate) {
    if (candidate > start && zoneOf(candidate) == zone && (!end || candidate < *end)) {
      end = candidate;
    }
  };
  for (const auto* event : timed) {
    consider(event->start);
  }
  for (const auto other : otherTaskGapStarts) {
    consider(other);
  }
  if (zone == Zone::inside) {
    end = end ? std::min(*end, window->end) : window->end;
  }
  if (!end) {
    return TaskGapEnd{std::nullopt, TaskGapEndSource::openEnded};
  }
  const auto source = zone == Zone::before   ? TaskGapEndSource::beforeDayStart
                      : zone == Zone::inside ? TaskGapEndSource::nextBoundary
                                             : TaskGapEndSource::afterDayEnd;
  return TaskGapEnd{end, source};
}

} // namespace vantrel
