#pragma once

#include <string>
#include <string_view>

namespace vantrel::testing {

/// Pins the device zone and locale for one test and restores the previous ones afterwards.
class ScopedDeviceSettings {
public:
  explicit ScopedDeviceSettings(std::string_view timeZone, std::string_view locale = "en_US");
  ~ScopedDeviceSettings();
  ScopedDeviceSettings(const ScopedDeviceSettings&) = delete;
  ScopedDeviceSettings& operator=(const ScopedDeviceSettings&) = delete;

private:
  std::string previousTimeZone_;
  std::string previousLocale_;
};

} // namespace vantrel::testing
