#include "VantrelCore/Platform/DeviceSettings.hpp"

#include <gtest/gtest.h>

// Every test starts in UTC with the en_US locale, whatever the machine says; tests that need another zone
// or locale pin it with ScopedDeviceSettings.
int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  vantrel::DeviceSettings::setTimeZone("UTC");
  vantrel::DeviceSettings::setLocale("en_US");
  return RUN_ALL_TESTS();
}
