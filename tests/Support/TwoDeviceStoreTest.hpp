#pragma once

#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace vantrel::testing {

/// A phone and a laptop of one account on one server, both started, and an area the phone made and the
/// laptop has fetched, so each test begins from devices that already agree.
class TwoDeviceStoreTest : public ::testing::Test {
protected:
  explicit TwoDeviceStoreTest(std::string areaName = "Home") : areaName_(std::move(areaName)) {}

  void SetUp() override {
    phone_.start();
    laptop_.start();
    area_ = phone_.store().addArea(areaName_, "", "");
    phone_.send();
    laptop_.fetch();
  }

  /// Sends until nothing is left: a merged record goes on the send after the one that met the conflict.
  static void sendAll(StoreDevice& device) {
    for (int round = 0; round < 3 && device.store().pendingWriteCount() > 0; ++round) {
      device.send();
    }
  }
  /// The device's banner, or "none", so a missing one fails the comparison instead of crashing it.
  static std::string noticeOn(StoreDevice& device) {
    const auto error = device.store().lastUIError();
    return error ? error->summary : "none";
  }

  TemporaryFolder folder_;
  FixedClock clock_{Date{800'000'000}};
  InMemoryCloudDatabase server_{clock_};
  StoreDevice phone_{folder_.path() / "phone", server_, clock_};
  StoreDevice laptop_{folder_.path() / "laptop", server_, clock_};
  std::string area_;

private:
  std::string areaName_;
};

} // namespace vantrel::testing
