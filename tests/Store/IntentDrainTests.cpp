#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"
#include "tests/Support/CountingUUIDs.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

class IntentDrainTest : public ::testing::Test {
protected:
  void SetUp() override {
    phone_.start();
    task_ = phone_.store().addTaskToArea(phone_.store().addArea("Home", "blue", "house"), "Dig");
    phone_.send();
  }
  bool done() { return phone_.store().cache().tasks().at(task_).done; }

  testing::TemporaryFolder folder_;
  FixedClock clock_{Date{800'000'000}};
  testing::InMemoryCloudDatabase server_{clock_};
  testing::StoreDevice phone_{folder_.path() / "phone", server_, clock_};
  testing::CountingUUIDs uuids_;
  IntentActionQueue queue_{phone_.store().persistence().sharedDirectory(), PosixFileSystem::shared(), clock_,
                           uuids_};
  std::string task_;
};

TEST_F(IntentDrainTest, AStartAppliesTheQueueInOrderAndDropsWhatFails) {
  queue_.appendMarkDone(task_, true);
  queue_.appendMarkDone("t-gone", true);
  queue_.appendMarkDone(task_, true);
  queue_.appendMarkDone(task_, false);

  testing::ScopedLogCapture log;
  phone_.open();
  phone_.start();
  EXPECT_FALSE(done()) << "done, then not done";
  EXPECT_TRUE(queue_.pending().empty());
  EXPECT_FALSE(std::filesystem::exists(*queue_.fileURL()));
  const auto messages = log.messages();
  const auto failures = std::ranges::count_if(messages, [](const std::string& message) {
    return message.starts_with("Draining intent action UUID-2 failed: ");
  });
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(std::ranges::count_if(messages,
                                  [](const std::string& message) { return message.starts_with("Draining"); }),
            1);
  EXPECT_EQ(phone_.store().pendingWriteCount(), 1) << "the toggles go to the cloud like any change";
}

TEST_F(IntentDrainTest, ToggledWhileTheStoreRefusesWritesTheQueueWaits) {
  queue_.appendMarkDone(task_, true);
  phone_.store().setLocalBridgeFreeze(true);
  phone_.store().drainPendingIntentActions();
  EXPECT_FALSE(done());
  EXPECT_EQ(queue_.pending().size(), 1u) << "nothing is dropped for a refusal of every write";

  phone_.store().setLocalBridgeFreeze(false);
  phone_.store().drainPendingIntentActions();
  EXPECT_TRUE(done());
  EXPECT_EQ(queue_.pending().size(), 1u) << "an action leaves the queue with the save point that holds it";
  phone_.settle();
  EXPECT_TRUE(queue_.pending().empty());
}

} // namespace
} // namespace vantrel
