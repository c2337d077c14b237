#include "VantrelCore/Platform/DeviceSettings.hpp"

#include "VantrelCore/Platform/TimeZoneDatabase.hpp"

#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <unicode/unistr.h>

namespace vantrel {
namespace {

std::mutex zoneMutex;
/// Whether the device zone was set here: until then ICU would detect the host's zone with its own rules.
bool zoneAdopted = false;

void adopt(std::unique_ptr<icu::TimeZone> zone) {
  icu::TimeZone::adoptDefault(zone.release());
  zoneAdopted = true;
}

} // namespace

std::unique_ptr<icu::TimeZone> DeviceSettings::timeZone() {
  const std::lock_guard lock(zoneMutex);
  if (!zoneAdopted) {
    adopt(TimeZoneDatabase::system().hostZone(std::getenv("TZ")));
  }
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
  auto zone = TimeZoneDatabase::system().zone(identifier);
  const std::lock_guard lock(zoneMutex);
  adopt(std::move(zone));
}

void DeviceSettings::adoptHostTimeZone() {
  auto zone = TimeZoneDatabase::system().hostZone(std::getenv("TZ"));
  const std::lock_guard lock(zoneMutex);
  adopt(std::move(zone));
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
