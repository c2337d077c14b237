#include "VantrelCore/Model/CalendarDayReader.hpp"

#include "VantrelCore/Platform/ProgramError.hpp"

#include <cmath>
#include <string>
#include <utility>

namespace vantrel {

std::unique_ptr<icu::GregorianCalendar> makeGregorianCalendar(std::unique_ptr<icu::TimeZone> zone) {
  UErrorCode status = U_ZERO_ERROR;
  auto calendar = std::make_unique<icu::GregorianCalendar>(zone.release(), status);
  if (U_FAILURE(status)) {
    programError(std::string("cannot create a Gregorian calendar: ") + u_errorName(status));
  }
  return calendar;
}

CalendarDayReader::CalendarDayReader(const icu::TimeZone& zone)
    : CalendarDayReader(std::unique_ptr<icu::TimeZone>(zone.clone())) {}

CalendarDayReader::CalendarDayReader(std::unique_ptr<icu::TimeZone> zone)
    : calendar_(makeGregorianCalendar(std::move(zone))) {}

// Years are read as extended years so that a day before 1 AD converts back to the same instant.
CalendarDate CalendarDayReader::dayOf(Date instant) const {
  const double millis = instant.icuMilliseconds();
  if (!std::isfinite(millis)) {
    return {};
  }
  UErrorCode timeStatus = U_ZERO_ERROR;
  calendar_->setTime(millis, timeStatus);
  const auto field = [&](UCalendarDateFields name, std::int64_t offset) -> std::int64_t {
    UErrorCode status = timeStatus;
    const std::int32_t value = calendar_->get(name, status);
    return U_FAILURE(status) ? 0 : value + offset;
  };
  return {field(UCAL_EXTENDED_YEAR, 0), field(UCAL_MONTH, 1), field(UCAL_DATE, 0)};
}

} // namespace vantrel
