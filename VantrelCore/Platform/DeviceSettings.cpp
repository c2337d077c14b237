#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <stdexcept>
#include <unicode/unistr.h>

namespace vantrel {

std::unique_ptr<icu::TimeZone> DeviceSettings::timeZone() {
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault());
}

std::string DeviceSettings::timeZoneID() {
  icu::UnicodeString id;
  timeZone()->getID(id);
  std::string text;
  id.toUTF8String(text);
  return text;
}

void DeviceSettings::setTimeZone(std::string_view identifier) {
  const auto id =
      icu::UnicodeString::fromUTF8(icu::StringPiece(identifier.data(), int32_t(identifier.size())));
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(id));
  // createTimeZone answers an unknown identifier with the "Etc/Unknown" zone instead of failing.
  if (!zone || *zone == icu::TimeZone::getUnknown()) {
    throw std::invalid_argument("unknown time zone '" + std::string(identifier) + "'");
  }
  icu::TimeZone::adoptDefault(zone.release());
}

void DeviceSettings::adoptHostTimeZone() {
  icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
}

icu::Locale DeviceSettings::locale() {
  return icu::Locale::getDefault();
}

std::string DeviceSettings::localeID() {
  return locale().getName();
}

void DeviceSettings::setLocale(std::string_view identifier) {
  const icu::Locale candidate(std::string(identifier).c_str());
  if (candidate.isBogus() || identifier.empty()) {
    throw std::invalid_argument("unknown locale '" + std::string(identifier) + "'");
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(candidate, status);
  if (U_FAILURE(status)) {
    throw std::invalid_argument("unknown locale '" + std::string(identifier) + "'");
  }
}

} // namespace vantrel
