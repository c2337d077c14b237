#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "tests/Support/TwoDeviceStoreTest.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

// One record that sync cannot carry must neither hold back the others nor pass unnoticed, and must go
// (or come) as soon as it can.
class RecordFailureTest : public testing::TwoDeviceStoreTest {
protected:
  static CloudRecordID idOf(const std::string& name) {
    return CloudRecordID{name, CloudRecordZoneID{"VantrelZone"}};
  }
  /// The operation the phone holds a failure of the record under, or "none".
  std::string failureOf(const std::string& name) {
    const auto& failures = phone_.store().recordFailures();
    const auto found = failures.find(name);
    return found == failures.end() ? "none" : found->second.operation;
  }
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
  EXPECT_EQ(failureOf(bad), "fetch");
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::degraded);
  EXPECT_EQ(phone_.store().syncStatus().recordFailures.size(), 1u) << "kept for the next run's status";

  phone_.fetch();
  EXPECT_EQ(failureOf(bad), "fetch") << "still unreadable";
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
  EXPECT_EQ(failureOf(refused), "save");
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
