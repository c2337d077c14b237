#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unicode/locid.h>
#include <unicode/timezone.h>

namespace vantrel {

/// The device's current time zone and locale, as every date computation of the system reads them.
///
/// They are the process-wide ICU defaults, so the command line's `--tz` and the tests pin them in one
/// place and nothing depends on the machine's zone or locale.
class DeviceSettings {
public:
  DeviceSettings() = delete;

  /// A new copy of the current zone; the host's zone until one is set.
  static std::unique_ptr<icu::TimeZone> timeZone();
  static std::string timeZoneID();
  /// Makes `identifier` (a zone of the system's tz database such as "Europe/Berlin", or "UTC") the
  /// device zone. Throws TimeZoneError ("unknown time zone 'X'") and keeps the current zone.
  static void setTimeZone(std::string_view identifier);
  /// Makes the host's zone the device zone: TZ, then /etc/localtime. Throws TimeZoneError.
  static void adoptHostTimeZone();

  static icu::Locale locale();
  static std::string localeID();
  /// Makes `identifier` (for example "en_US", "de_DE") the device locale.
  /// Throws std::invalid_argument "unknown locale 'X'" for a malformed identifier.
  static void setLocale(std::string_view identifier);
};

} // namespace vantrel
