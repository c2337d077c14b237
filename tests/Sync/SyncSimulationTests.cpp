#include "VantrelCore/Platform/FixedClock.hpp"
#include "tests/Support/InMemoryCloudDatabase.hpp"
#include "tests/Sync/SyncTestDevice.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::SyncTestDevice;

/// Several devices of one account edit the same few records at random, send and fetch at random, and
/// meet random passing failures, lost responses, expired tokens and offline spells. Once the network is
/// back and every device has synced, every device must hold exactly what the server holds. A failure
/// names its seed; running that seed again replays the same run.
class SyncSimulation : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(SyncSimulation, EveryDeviceEndsWithTheServersRecords) {
  const std::uint32_t seed = GetParam();
  std::mt19937 random(seed);
  const auto below = [&](int bound) { return std::uniform_int_distribution(0, bound - 1)(random); };

  FixedClock clock;
  InMemoryCloudDatabase server(clock);
  server.saveRecordZone(CloudDatabaseScope::privateDatabase, SyncTestDevice::zone);
  std::vector<std::unique_ptr<InMemoryCloudDatabase>> databases;
  std::vector<std::shared_ptr<SyncTestDevice>> devices;
  for (int index = 0; index < 3; ++index) {
    databases.push_back(std::make_unique<InMemoryCloudDatabase>(server, std::nullopt));
    devices.push_back(SyncTestDevice::make(*databases.back()));
  }
  const auto quietly = [](auto&& call) {
    try {
      call();
    } catch (const CloudError&) {
      // A failed sync is part of the run; what it left pending goes later.
    }
  };
  const char* keys[] = {"title", "done", "notes"};
  const CloudError passing[] = {CloudError(CloudErrorCode::networkUnavailable),
                                CloudError(CloudErrorCode::zoneBusy),
                                CloudError::retryable(CloudErrorCode::requestRateLimited, 5),
                                CloudError(CloudErrorCode::serviceUnavailable)};

  for (int step = 0; step < 300; ++step) {
    const int which = below(3);
    auto& device = *devices[std::size_t(which)];
    auto& database = *databases[std::size_t(which)];
    const std::string record = "t-" + std::to_string(below(8));
    switch (below(10)) {
    case 0:
    case 1:
    case 2:
      device.edit(record, keys[below(3)], std::int64_t(below(1000)));
      break;
    case 3:
      device.remove(record);
      break;
    case 4:
    case 5:
      quietly([&] { device.engine->sendChanges(); });
      break;
    case 6:
    case 7:
      quietly([&] { device.engine->fetchChanges(); });
      break;
    case 8:
      switch (below(4)) {
      case 0:
        database.failNextCalls(1 + below(4), passing[below(4)]);
        break;
      case 1:
        database.loseNextResponses(1);
        break;
      case 2:
        database.failItems(record, passing[below(4)], 1 + below(2));
        break;
      default:
        server.expireChangeTokens();
        break;
      }
      break;
    default:
      clock.advance(1);
      break;
    }
  }

  for (auto& database : databases) {
    database->failNextCalls(0, CloudError(CloudErrorCode::networkUnavailable));
    database->loseNextResponses(0);
  }
  const auto settled = [&] {
    return std::ranges::all_of(devices, [](const auto& device) {
      return device->engine->state().pendingRecordZoneChanges().empty();
    });
  };
  for (int round = 0; round < 5 && !(round > 0 && settled()); ++round) {
    for (auto& device : devices) {
      quietly([&] { device->engine->sendChanges(); });
    }
    for (auto& device : devices) {
      quietly([&] { device->engine->fetchChanges(); });
    }
  }
  ASSERT_TRUE(settled()) << "seed " << seed;

  InMemoryCloudDatabase reader(server, std::nullopt);
  const auto truth = SyncTestDevice::make(reader);
  truth->engine->fetchChanges();
  for (std::size_t index = 0; index < devices.size(); ++index) {
    EXPECT_EQ(devices[index]->contents(), truth->contents()) << "seed " << seed << ", device " << index;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SyncSimulation, ::testing::Range(std::uint32_t{1}, std::uint32_t{41}));

} // namespace
} // namespace vantrel
