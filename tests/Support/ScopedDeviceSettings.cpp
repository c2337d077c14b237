#include "tests/Support/ScopedDeviceSettings.hpp"

#include "VantrelCore/Platform/DeviceSettings.hpp"

namespace vantrel::testing {

ScopedDeviceSettings::ScopedDeviceSettings(std::string_view timeZone, std::string_view locale)
    : previousTimeZone_(DeviceSettings::timeZoneID()), previousLocale_(DeviceSettings::localeID()) {
  DeviceSettings::setTimeZone(timeZone);
  DeviceSettings::setLocale(locale);
}

ScopedDeviceSettings::~ScopedDeviceSettings() {
  DeviceSettings::setTimeZone(previousTimeZone_);
  DeviceSettings::setLocale(previousLocale_);
}

} // namespace vantrel::testing
