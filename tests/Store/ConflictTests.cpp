#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TwoDeviceStoreTest.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::StoreDevice;

// Two devices of one account that both edit one task, "Buy milk", in the area "Errands".
class ConflictTest : public testing::TwoDeviceStoreTest {
protected:
  ConflictTest() : TwoDeviceStoreTest("Errands") {}
  void SetUp() override {
    TwoDeviceStoreTest::SetUp();
    task_ = phone_.store().addTaskToArea(area_, "Buy milk");
    phone_.send();
    laptop_.fetch();
  }
  const TaskRecord& taskOn(StoreDevice& device) { return device.store().cache().tasks().at(task_); }
  /// The laptop's edit that reaches the server first, so the phone's next send meets it.
  void laptopRetitles(const std::string& title) {
    laptop_.store().setTaskTitle(task_, title);
    laptop_.send();
  }

  std::string task_;
};

TEST_F(ConflictTest, EditsOfDifferentFieldsBothSurviveWithoutANotice) {
  laptop_.store().setTaskDueDate(task_, Date{800'100'000});
  laptop_.send();
  testing::ScopedLogCapture log;
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  sendAll(phone_);
  laptop_.fetch();

  EXPECT_TRUE(log.contains("Conflict merged: Task/" + task_ + "; kept [title], clashed []"));
  for (auto* device : {&phone_, &laptop_}) {
    EXPECT_EQ(taskOn(*device).title, "Buy oat milk");
    EXPECT_EQ(taskOn(*device).dueDate, Date{800'100'000});
  }
  EXPECT_FALSE(phone_.store().lastConflict());
  EXPECT_FALSE(phone_.store().lastUIError());
  EXPECT_EQ(phone_.store().pendingWriteCount(), 0);
}

TEST_F(ConflictTest, EditsOfTheSameFieldKeepTheServersAndTellTheUserWhich) {
  laptop_.store().setTaskDone(task_, true);
  laptopRetitles("Buy soy milk");
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  sendAll(phone_);
  laptop_.fetch();

  for (auto* device : {&phone_, &laptop_}) {
    EXPECT_EQ(taskOn(*device).title, "Buy soy milk");
    EXPECT_TRUE(taskOn(*device).done);
  }
  EXPECT_EQ(
      noticeOn(phone_),
      "Your change to the title of Buy oat milk was replaced by an edit from your other device. The rest "
      "of your changes were kept.");
  ASSERT_TRUE(phone_.store().lastConflict());
  EXPECT_EQ(*phone_.store().lastConflict(), (SyncConflict{.recordType = "Task",
                                                          .recordName = task_,
                                                          .localLabel = "Buy oat milk",
                                                          .serverLabel = "Buy soy milk",
                                                          .date = clock_.now()}));
}

TEST_F(ConflictTest, OnlyTheLastTwentyConflictsAreKept) {
  for (int round = 1; round <= 21; ++round) {
    clock_.set(Date{800'000'000.0 + round});
    laptopRetitles("laptop " + std::to_string(round));
    phone_.store().setTaskTitle(task_, "phone " + std::to_string(round));
    sendAll(phone_);
  }
  const auto& recent = phone_.store().recentConflicts();
  ASSERT_EQ(recent.size(), 20u);
  EXPECT_EQ(recent.front().localLabel, "phone 2");
  EXPECT_EQ(recent.back().localLabel, "phone 21");
  EXPECT_EQ(phone_.store().lastConflict(), recent.back());
}

TEST_F(ConflictTest, AConflictOnARecordDeletedHereSendsTheDelete) {
  laptopRetitles("Buy soy milk");
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  phone_.database().whileNextModifyIsInFlight([&] { phone_.store().deleteTask(task_); });
  testing::ScopedLogCapture log;
  sendAll(phone_);
  laptop_.fetch();

  EXPECT_TRUE(
      log.contains("Conflict on a record deleted here: Task/" + task_ + "; the waiting delete stands"));
  EXPECT_FALSE(laptop_.store().cache().tasks().contains(task_));
  EXPECT_FALSE(phone_.store().cache().tasks().contains(task_));
}

TEST_F(ConflictTest, AFetchDoesNotBringBackARecordWhoseDeleteWaits) {
  laptopRetitles("Buy soy milk");
  phone_.store().deleteTask(task_);
  phone_.fetch();
  EXPECT_FALSE(phone_.store().cache().tasks().contains(task_));
  sendAll(phone_);
  laptop_.fetch();
  EXPECT_FALSE(laptop_.store().cache().tasks().contains(task_));
  EXPECT_EQ(laptop_.store().cache().snapshot(), phone_.store().cache().snapshot());
}

TEST_F(ConflictTest, MeetingItsOwnConfirmedSaveADeviceResendsOnTheCurrentTag) {
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  phone_.database().whileNextModifyIsInFlight([&] {
    phone_.store().setTaskDone(task_, true);
    // The second edit waits past this send.
    phone_.database().failNextCalls(1, CloudError(CloudErrorCode::networkUnavailable));
  });
  try {
    phone_.send();
  } catch (const CloudError&) {
    // The call that would have carried the second edit.
  }
  ASSERT_EQ(phone_.store().pendingWriteCount(), 1);
  ASSERT_TRUE(phone_.store().keptConfirmedTags().contains(task_));
  // The waiting edit goes without the tag it was kept on, so the server's version looks newer.
  phone_.store().persistence().deleteSystemFields(CKRecordTypes::task, task_);
  testing::ScopedLogCapture log;
  sendAll(phone_);
  laptop_.fetch();

  EXPECT_TRUE(log.contains("Conflict with this device's own confirmed save: Task/" + task_ +
                           "; resending on the current tag"));
  EXPECT_EQ(taskOn(laptop_).title, "Buy oat milk");
  EXPECT_TRUE(taskOn(laptop_).done);
  EXPECT_FALSE(phone_.store().lastConflict());
}

TEST_F(ConflictTest, ALostResponseAndItsRetryLoseNothing) {
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  phone_.database().loseNextResponses(1);
  sendAll(phone_);
  laptop_.fetch();
  EXPECT_EQ(taskOn(laptop_).title, "Buy oat milk");
  EXPECT_EQ(taskOn(phone_).title, "Buy oat milk");
  EXPECT_FALSE(phone_.store().lastConflict()) << "the retry met this device's own save and kept it";
  EXPECT_EQ(noticeOn(phone_), "iCloud didn't confirm the write. Will retry.");
}

TEST_F(ConflictTest, WithoutAnAncestorTheServersVersionIsTakenWhole) {
  laptopRetitles("Buy soy milk");
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  // With no bookkeeping left, the save goes as a new record and nothing says what it came from.
  phone_.store().persistence().deleteSystemFields(CKRecordTypes::task, task_);
  phone_.store().persistence().deleteBaseRecord(task_);
  testing::ScopedLogCapture log;
  sendAll(phone_);

  EXPECT_TRUE(log.contains("Conflict without an ancestor to merge against: Task/" + task_ +
                           "; taking iCloud's version"));
  EXPECT_EQ(taskOn(phone_).title, "Buy soy milk");
  EXPECT_EQ(noticeOn(phone_),
            "An edit to Buy oat milk was overwritten by another device. Check it and re-do if needed.");
}

TEST_F(ConflictTest, AScheduleConflictIsNamedAfterItsTask) {
  laptop_.store().setTaskSchedule(task_, CalendarDate{2026, 3, 7}, "09:00");
  laptop_.send();
  phone_.fetch();
  laptop_.store().setTaskSchedule(task_, CalendarDate{2026, 3, 8}, std::nullopt);
  laptop_.send();
  phone_.store().setTaskSchedule(task_, CalendarDate{2026, 3, 9}, "10:00");
  sendAll(phone_);
  EXPECT_EQ(
      noticeOn(phone_),
      "Your change to the schedule of Buy milk was replaced by an edit from your other device. The rest "
      "of your changes were kept.");
  EXPECT_EQ(phone_.store().cache().myTaskSchedules().at(task_).gapTime, std::nullopt);
}

TEST_F(ConflictTest, AFullStorageParksTheSaveUntilTheNextFetchCycle) {
  phone_.database().setQuotaExceeded(true);
  phone_.store().setTaskTitle(task_, "Buy oat milk");
  testing::ScopedLogCapture log;
  phone_.send();
  EXPECT_EQ(phone_.store().pendingQuotaRetries(), std::set<std::string>{task_});
  EXPECT_EQ(noticeOn(phone_), "Your iCloud storage is full. Free space or upgrade to keep syncing.");
  EXPECT_TRUE(
      log.contains("Quota exceeded; surfacing banner [Your iCloud storage is full. Free space or upgrade "
                   "to keep syncing.] and queuing " +
                   task_ + " for retry"));

  phone_.database().setQuotaExceeded(false);
  phone_.fetch();
  EXPECT_TRUE(log.contains("Re-queued 1 record(s) after quota-exceeded"));
  EXPECT_TRUE(phone_.store().pendingQuotaRetries().empty());
  phone_.send();
  laptop_.fetch();
  EXPECT_EQ(taskOn(laptop_).title, "Buy oat milk");
}

TEST_F(ConflictTest, HealthFollowsFetchesAndWaitingWrites) {
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::healthy);
  phone_.store().setTaskDone(task_, true);
  clock_.advance(30);
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::healthy) << "exactly 30 seconds is still healthy";
  clock_.advance(1);
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::degraded);
  phone_.send();
  phone_.fetch();
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::healthy);

  const std::pair<int, SyncHealth> failures[] = {
      {1, SyncHealth::degraded}, {3, SyncHealth::degraded}, {6, SyncHealth::broken}};
  for (const auto& [count, health] : failures) {
    phone_.database().failNextCalls(count, CloudError(CloudErrorCode::networkUnavailable));
    for (int attempt = 0; attempt < count; ++attempt) {
      phone_.fetch();
    }
    EXPECT_EQ(phone_.store().consecutiveFetchFailures(), count);
    EXPECT_EQ(phone_.store().syncHealth(), health) << count << " failed fetches";
    phone_.fetch();
    EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::healthy);
  }
  clock_.advance(301);
  EXPECT_EQ(phone_.store().syncHealth(), SyncHealth::degraded) << "the last fetch is over 300 seconds old";
}

} // namespace
} // namespace vantrel
