#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::StoreDevice;

// One record that sync cannot carry must neither hold back the others nor pass unnoticed, and must go
// (or come) as soon as it can.
class RecordFailureTest : public ::testing::Test {
protected:
  void SetUp() override {
    phone_.start();
    laptop_.start();
    area_ = phone_.store().addArea("Home", "", "");
    phone_.send();
    laptop_.fetch();
  }
  static CloudRecordID idOf(const std::string& name) {
    return CloudRecordID{name, CloudRecordZoneID{"VantrelZone"}};
  }

  testing::TemporaryFolder folder_;
  FixedClock clock_{Date{800'000'000}};
  InMemoryCloudDatabase server_{clock_};
  StoreDevice phone_{folder_.path() / "phone", server_, clock_};
  StoreDevice laptop_{folder_.path() / "laptop", server_, clock_};
  std::string area_;
};

TEST_F(RecordFailureTest, AnUnreadableFetchedRecordIsSkippedShownAndTakenOnceRepaired) {
  const auto bad = laptop_.store().addTaskToArea(area_, "Damaged on the server");
  const auto good = laptop_.store().addTaskToArea(area_, "Fine");
  laptop_.send();
  const std::string intact =
      server_.fetchRecord(CloudDatabaseScope::privateDatabase, idOf(bad)).wholeRecordData();
  server_.replaceRecordData(idOf(bad), "not a record");

  phone_.fetch();
  EXPECT_TRUE(phone_.store().cache().tasks().contains(good)) << "the rest of the page arrives";
  EXPECT_FALSE(phone_.store().cache().tasks().contains(bad));
  ASSERT_TRUE(phone_.store().recordFailures().contains(bad));
  EXPECT_EQ(phone_.store().recordFailures().at(bad).operation, "fetch");
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::degraded);
  EXPECT_EQ(phone_.store().syncStatus().recordFailures.size(), 1u) << "kept for the next run's status";

  phone_.fetch();
  EXPECT_TRUE(phone_.store().recordFailures().contains(bad)) << "still unreadable";
  server_.replaceRecordData(idOf(bad), intact);
  phone_.fetch();
  EXPECT_EQ(phone_.store().cache().tasks().at(bad).title, "Damaged on the server");
  EXPECT_TRUE(phone_.store().recordFailures().empty());
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::healthy);
}

TEST_F(RecordFailureTest, ARefusedItemOfASendIsKeptAcrossRunsWhileTheOthersGo) {
  const auto refused = phone_.store().addTaskToArea(area_, "Refused");
  const auto other = phone_.store().addTaskToArea(area_, "Other");
  const CloudError refusal(CloudErrorCode::invalidArguments, "bad field");
  phone_.database().failItems(refused, refusal);
  phone_.send();
  laptop_.fetch();
  EXPECT_TRUE(laptop_.store().cache().tasks().contains(other));
  EXPECT_FALSE(laptop_.store().cache().tasks().contains(refused));
  EXPECT_EQ(phone_.store().pendingWriteCount(), 1) << "refused, not dropped";
  ASSERT_TRUE(phone_.store().recordFailures().contains(refused));
  EXPECT_EQ(phone_.store().recordFailures().at(refused).operation, "save");
  EXPECT_NE(phone_.store().syncHealth(), SyncHealth::healthy);

  // The next run, which must find it in what it restores, is refused once more, then gets through.
  phone_.open();
  phone_.start();
  EXPECT_EQ(phone_.store().pendingWriteCount(), 1);
  phone_.database().failItems(refused, refusal);
  phone_.send();
  EXPECT_EQ(phone_.store().pendingWriteCount(), 1);
  phone_.fetch();
  phone_.send();
  laptop_.fetch();
  EXPECT_TRUE(laptop_.store().cache().tasks().contains(refused));
  EXPECT_EQ(phone_.store().pendingWriteCount(), 0);
  EXPECT_TRUE(phone_.store().recordFailures().empty());
}

} // namespace
} // namespace vantrel
