#include "Tools/vantrel/InstantArgument.hpp"

#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <cmath>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <unicode/gregocal.h>

namespace vantrel::cli {
namespace {

[[noreturn]] void reject(std::string_view text) {
  throw std::invalid_argument("invalid --now '" + std::string(text) +
                              "': expected YYYY-MM-DDTHH:MM[:SS] with an optional Z or ±HH:MM offset");
}

} // namespace

Date parseInstantArgument(std::string_view text) {
  static const std::regex pattern(
      R"((\d{4})-(\d{2})-(\d{2})[T ](\d{2}):(\d{2})(?::(\d{2})(\.\d{1,9})?)?(Z|[+-]\d{2}:?\d{2})?)");
  std::match_results<std::string_view::const_iterator> match;
  if (!std::regex_match(text.begin(), text.end(), match, pattern)) {
    reject(text);
  }
  const auto number = [&](std::size_t group) {
    return match[group].matched ? std::stoi(match[group].str()) : 0;
  };
  const int year = number(1), month = number(2), day = number(3), hour = number(4), minute = number(5),
            second = number(6);
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59) {
    reject(text);
  }
  const double fraction = match[7].matched ? std::stod("0" + match[7].str()) : 0.0;

  std::unique_ptr<icu::TimeZone> zone;
  const auto offset = match[8].str();
  if (offset.empty()) {
    zone = DeviceSettings::timeZone();
  } else {
    const int sign = offset[0] == '-' ? -1 : 1;
    const auto digits =
        offset == "Z" ? std::string("0000") : std::regex_replace(offset.substr(1), std::regex(":"), "");
    const int offsetMinutes = sign * (std::stoi(digits.substr(0, 2)) * 60 + std::stoi(digits.substr(2, 2)));
    zone.reset(icu::TimeZone::getGMT()->clone());
    zone->setRawOffset(offsetMinutes * 60 * 1000);
  }
  icu::UnicodeString zoneID;
  zone->getID(zoneID);
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(zone.release(), status);
  calendar.clear();
  calendar.set(year, month - 1, day, hour, minute, second);
  const UDate milliseconds = calendar.getTime(status);
  // The lenient calendar moves a day or a wall time that does not exist; reading the fields back tells.
  const bool sameDay = calendar.get(UCAL_YEAR, status) == year &&
                       calendar.get(UCAL_MONTH, status) == month - 1 &&
                       calendar.get(UCAL_DATE, status) == day;
  if (U_FAILURE(status) || !sameDay) {
    reject(text);
  }
  if (calendar.get(UCAL_HOUR_OF_DAY, status) != hour || calendar.get(UCAL_MINUTE, status) != minute) {
    std::string zoneName;
    zoneID.toUTF8String(zoneName);
    throw std::invalid_argument("invalid --now '" + std::string(text) +
                                "': that wall time does not exist in " + zoneName + " (the clocks skip it)");
  }
  return Date::fromICUMilliseconds(milliseconds).adding(fraction);
}

} // namespace vantrel::cli
