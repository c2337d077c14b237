#include "VantrelCore/Platform/DeviceSettings.hpp"
#include "VantrelCore/Platform/TimeZoneError.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(DeviceSettings, PinsAndRestoresZoneAndLocale) {
  {
    testing::ScopedDeviceSettings pinned("Australia/Sydney", "de_DE");
    EXPECT_EQ(DeviceSettings::timeZoneID(), "Australia/Sydney");
    EXPECT_EQ(DeviceSettings::localeID(), "de_DE");
  }
  EXPECT_EQ(DeviceSettings::timeZoneID(), "UTC");
  EXPECT_EQ(DeviceSettings::localeID(), "en_US");
}

TEST(DeviceSettings, RefusesUnknownZoneAndKeepsTheCurrentOne) {
  EXPECT_THROW(
      {
        try {
          DeviceSettings::setTimeZone("Mars/Olympus_Mons");
        } catch (const TimeZoneError& error) {
          EXPECT_STREQ(error.what(), "unknown time zone 'Mars/Olympus_Mons'");
          throw;
        }
      },
      TimeZoneError);
  EXPECT_EQ(DeviceSettings::timeZoneID(), "UTC");
}

} // namespace
} // namespace vantrel
