#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <memory>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace vantrel {

/// A Gregorian calendar (never the locale's own, which may be Buddhist or Persian) in `zone`.
std::unique_ptr<icu::GregorianCalendar> makeGregorianCalendar(std::unique_ptr<icu::TimeZone> zone);

/// Reads the calendar day of instants in one zone. Keeps its calendar between calls, which makes it the
/// tool for many instants (an index over every schedule); not safe to share between threads.
class CalendarDayReader {
public:
  explicit CalendarDayReader(const icu::TimeZone& zone);
  explicit CalendarDayReader(std::unique_ptr<icu::TimeZone> zone);

  /// The day of `instant` in the zone; year 0-0-0 for an instant the calendar cannot hold (not finite).
  CalendarDate dayOf(Date instant) const;
  const icu::TimeZone& zone() const { return calendar_->getTimeZone(); }

private:
  std::unique_ptr<icu::GregorianCalendar> calendar_;
};

} // namespace vantrel
