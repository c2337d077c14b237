#pragma once

#include "Linux/ICalendarClock.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <libical/ical.h>
#include <optional>
#include <set>
#include <vector>

namespace vantrel {

/// One occurrence of an event, as instants.
struct ICalendarOccurrence {
  Date start{};
  Date end{};
  bool isAllDay{};
};

/// A master event's recurrence set (DTSTART, RRULE, RDATE, EXDATE), kept as wall times and rules so that
/// a query expands only the interval it asks for.
///
/// Expanding costs about what the interval holds, wherever the series began: libical's iterator starts
/// near the interval rather than at DTSTART, its search for the next instance never runs past the
/// interval, and no rule takes more than `mostSteps` iterator steps per query, however it is written.
class ICalendarRecurrence {
public:
  /// How an occurrence's end follows from its start: whole days on the clock, then exact seconds, the
  /// way iCalendar reads a DURATION (P1D keeps the time of day across a clock change, PT24H does not).
  struct Length {
    int days{};
    double seconds{};
  };

  struct Expansion {
    std::vector<ICalendarOccurrence> occurrences{};
    /// Whether a rule gave up at `mostSteps` before the end of the interval, so that some occurrences
    /// may be missing.
    bool stopped{};
  };

  /// The recurrence set of the VEVENT `event`; none without a usable DTSTART. Rules that libical cannot
  /// start are dropped. A COUNT becomes the last start it counts to where that is cheap: by arithmetic for
  /// a rule that steps by a fixed amount, else by walking it once within `mostSteps`.
  static std::optional<ICalendarRecurrence> read(icalcomponent* event, icalcomponent* root,
                                                 ICalendarClock& clock, std::size_t mostSteps);
  /// The occurrence of `event` (an override, or any VEVENT) when it starts at `start`, its length taken
  /// from its DTEND or DURATION.
  static std::optional<ICalendarOccurrence> occurrenceOf(icalcomponent* event, const icaltimetype& start,
                                                         icalcomponent* root, ICalendarClock& clock);

  /// Removes the instance that starts at `start`, which an override replaces or cancels.
  void exclude(Date start);
  /// The occurrences that overlap [from, to).
  Expansion expand(Date from, Date to, ICalendarClock& clock, std::size_t mostSteps) const;

private:
  class Query;

  icaltimetype start_{};
  Length length_{};
  /// DTSTART's own occurrence, which belongs to the set whether or not the rules produce it.
  std::optional<ICalendarOccurrence> first_{};
  std::vector<icalrecurrencetype> rules_{};
  /// RDATE occurrences, resolved when the file is read.
  std::vector<ICalendarOccurrence> extraOccurrences_{};
  /// Unix seconds of the starts that EXDATE removes or an override replaces: a set, so that a series
  /// with many exclusions costs a lookup per instance, not a scan.
  std::set<std::int64_t> removedStarts_{};
  /// EXDATE days of a timed event, which remove whatever starts on them.
  std::set<std::array<int, 3>> removedDays_{};
};

} // namespace vantrel
