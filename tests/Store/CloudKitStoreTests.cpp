#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/ManualExecutor.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "tests/Support/InMemoryCloudDatabase.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/StoreDevice.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

namespace vantrel {
namespace {

using testing::InMemoryCloudDatabase;
using testing::StoreDevice;
namespace fs = std::filesystem;

constexpr auto privateScope = CloudDatabaseScope::privateDatabase;

TaskRecord task(const std::string& name, const std::string& title) {
  return TaskRecord{.recordName = name, .homeRef = "errands", .title = title};
}

/// Every file below a folder with its bytes.
std::map<std::string, std::string> filesIn(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      files[fs::relative(entry.path(), folder).string()] =
          PosixFileSystem::shared().readFile(entry.path()).value();
    }
  }
  return files;
}

class CloudKitStoreTest : public ::testing::Test {
protected:
  testing::TemporaryFolder folder_;
  FixedClock clock_{Date{800'000'000}};
  InMemoryCloudDatabase server_{clock_};
  testing::ScopedLogCapture log_;
  StoreDevice phone_{folder_.path() / "phone", server_, clock_};
  StoreDevice laptop_{folder_.path() / "laptop", server_, clock_};
};

TEST_F(CloudKitStoreTest, StartsOnceMakesTheZoneAndSchemaAndCarriesASaveToAnotherDevice) {
  int nestedStarts = 0;
  phone_.onOpen = [&] {
    ++nestedStarts;
    phone_.store().start();
  };
  phone_.store().start();
  EXPECT_EQ(nestedStarts, 1);
  SyncEngine* const engine = phone_.store().syncEngine();
  phone_.store().start();
  EXPECT_EQ(phone_.store().syncEngine(), engine);
  EXPECT_TRUE(log_.contains("Created VantrelZone"));
  EXPECT_TRUE(log_.contains("No saved engine state on disk"));
  const auto messages = log_.messages();
  EXPECT_EQ(
      std::ranges::count(messages, "CloudKitStore started; accountStatus=available; restoredState=false"), 1);
  EXPECT_EQ(
      std::ranges::count_if(
          messages, [](const std::string& line) { return line.starts_with("CloudKitSyncDelegate INIT"); }),
      1);
  EXPECT_THROW(phone_.store().saveRecord(task("t-1", "x")), CloudKitStoreError) << "no schema yet";
  phone_.store().runFirstLaunchFlow();
  EXPECT_TRUE(phone_.store().schemaMigrationComplete());

  phone_.store().saveRecord(task("t-1", "Buy milk"));
  EXPECT_EQ(phone_.store().pendingWriteCount(), 1);
  EXPECT_EQ(phone_.store().pendingSince(), clock_.now());
  phone_.send();
  EXPECT_EQ(phone_.store().pendingWriteCount(), 0);

  laptop_.start();
  EXPECT_TRUE(log_.contains("VantrelZone already exists"));
  EXPECT_TRUE(laptop_.store().schemaMigrationComplete());
  EXPECT_EQ(laptop_.store().cache().currentUserRef(), server_.userRecordName());
  EXPECT_EQ(laptop_.titleOf("t-1"), "Buy milk");
  EXPECT_EQ(laptop_.store().cache().schemaVersion(), SchemaVersionRecord{currentSchemaVersion});

  phone_.store().deleteRecord("Task", "t-1");
  phone_.send();
  EXPECT_TRUE(laptop_.store().handlePushNotification());
  EXPECT_EQ(laptop_.titleOf("t-1"), "none");
  EXPECT_FALSE(laptop_.store().handlePushNotification()) << "nothing new";
}

TEST_F(CloudKitStoreTest, AMovedChangeCounterActsAsAPush) {
  phone_.start();
  laptop_.start();
  laptop_.store().watchForChanges(30);
  phone_.store().saveRecord(task("t-1", "seen by polling"));
  phone_.send();
  laptop_.wait(29);
  EXPECT_EQ(laptop_.titleOf("t-1"), "none");
  laptop_.wait(1);
  EXPECT_EQ(laptop_.titleOf("t-1"), "seen by polling");
  EXPECT_TRUE(log_.contains("Push received; calling engine.fetchChanges()"));
}

TEST_F(CloudKitStoreTest, AFetchNeverOverwritesAPendingLocalSaveUnlessTheBridgeApplies) {
  phone_.start();
  laptop_.start();
  phone_.store().saveRecord(task("t-1", "from the phone"));
  phone_.send();
  laptop_.fetch();
  phone_.store().saveRecord(task("t-1", "phone, again"));
  phone_.send();

  laptop_.store().saveRecord(task("t-1", "laptop, unsent"));
  laptop_.fetch();
  EXPECT_EQ(laptop_.titleOf("t-1"), "laptop, unsent");
  EXPECT_TRUE(log_.contains("ingest: skipping Task/t-1; local pending save"));

  phone_.store().saveRecord(task("t-1", "phone, third"));
  phone_.send();
  laptop_.store().setLocalBridgeFreeze(true);
  EXPECT_THROW(laptop_.store().saveRecord(task("t-2", "x")), CloudKitStoreError);
  laptop_.store().setBridgeIsApplying(true);
  laptop_.store().syncEngine()->fetchChanges();
  EXPECT_EQ(laptop_.titleOf("t-1"), "phone, third") << "taken in although a local save waits";
}

TEST_F(CloudKitStoreTest, ASaveConfirmedWhileANewerEditWaitsKeepsTheEditAndSendsItOnTheNewTag) {
  phone_.start();
  phone_.store().saveRecord(task("t-1", "first"));
  phone_.database().whileNextModifyIsInFlight([&] { phone_.store().saveRecord(task("t-1", "second")); });
  phone_.send();

  EXPECT_TRUE(
      log_.contains("save confirmed: Task/t-1; newer local edit pending, kept on the new change tag"));
  EXPECT_EQ(phone_.titleOf("t-1"), "second");
  EXPECT_EQ(phone_.store().keptConfirmedTags().count("t-1"), 1u);
  EXPECT_FALSE(log_.contains("Conflict on Task/t-1; taking the server's version"));
  laptop_.start();
  EXPECT_EQ(laptop_.titleOf("t-1"), "second");
}

TEST_F(CloudKitStoreTest, AZoneDeletionEmptiesTheCacheAndKeepsBookkeepingOnlyAfterAnEncryptedDataReset) {
  const struct {
    CloudZoneDeletionReason reason;
    const char* logged;
    bool bookkeepingKept;
  } cases[] = {{CloudZoneDeletionReason::deleted, "Zone deleted: deletedByApp", false},
               {CloudZoneDeletionReason::purged, "Zone deleted: purgedByUser", false},
               {CloudZoneDeletionReason::encryptedDataReset, "Zone deleted: encryptedDataReset", true}};
  phone_.start();
  for (const auto& [reason, logged, kept] : cases) {
    SCOPED_TRACE(logged);
    phone_.store().saveRecord(task("t-1", "x"));
    phone_.send();
    ASSERT_TRUE(fs::exists(phone_.store().persistence().systemFieldsDirectory() / "Task__t-1.bin"));
    server_.removeZone(phone_.store().zoneID(), reason);
    phone_.fetch();
    EXPECT_TRUE(log_.contains(logged));
    EXPECT_EQ(phone_.store().cache().recordCount(), 0u);
    EXPECT_EQ(fs::exists(phone_.store().persistence().systemFieldsDirectory() / "Task__t-1.bin"), kept);
    EXPECT_EQ(phone_.store().schemaMigrationComplete(), kept);
    server_.saveRecordZone(privateScope, phone_.store().zoneID());
    phone_.store().runFirstLaunchFlow();
  }
}

TEST_F(CloudKitStoreTest, RecordsOfUnknownTypesAreSkippedAndTheRestIsTaken) {
  laptop_.start();
  CloudRecord mystery("Mystery", CloudRecordID{"m-1", laptop_.store().zoneID()});
  CloudRecord broken("Task", CloudRecordID{"t-bad", laptop_.store().zoneID()});
  broken.setValue("title", std::int64_t{3});
  server_.modifyRecords(
      privateScope,
      {.recordsToSave = {mystery, broken, makeCloudRecord(task("t-1", "fine"), laptop_.store().zoneID())}});
  laptop_.fetch();
  EXPECT_TRUE(log_.contains("Unknown CKRecord type: Mystery"));
  EXPECT_TRUE(
      log_.contains("Failed to parse CKRecord Task/t-bad: " +
                    std::string(CloudKitRecordError::missingField("Task", "homeRef", "t-bad").what())));
  EXPECT_EQ(laptop_.titleOf("t-1"), "fine");
}

TEST_F(CloudKitStoreTest, AccountEventsLeaveEveryLocalFileAsItWas) {
  phone_.start();
  phone_.store().saveRecord(task("t-1", "kept"));
  phone_.send();
  phone_.store().saveRecord(task("t-2", "unsent"));
  phone_.settle();
  const auto before = filesIn(phone_.folder());

  phone_.database().signIn("_someoneElse");
  phone_.fetch();
  EXPECT_TRUE(
      log_.contains("iCloud switch-accounts event received; leaving local state intact (was wiping; that "
                    "turned out to be the source of the cross-session data loss)"));
  phone_.database().signOut();
  phone_.fetch();
  EXPECT_TRUE(log_.contains("iCloud signed-out event received; leaving local state intact"));
  EXPECT_EQ(filesIn(phone_.folder()), before);
  EXPECT_EQ(phone_.titleOf("t-2"), "unsent");
}

TEST_F(CloudKitStoreTest, ARelaunchSendsWhatWasLeftPendingWithBaseCopiesAndLosesNothing) {
  phone_.start();
  phone_.store().saveRecord(task("t-1", "sent"));
  phone_.send();
  phone_.store().saveRecord(task("t-2", "left pending"));
  phone_.store().saveRecord(task("t-1", "edited, left pending"));
  phone_.store().flushSnapshotSynchronously();

  phone_.open();
  EXPECT_EQ(phone_.titleOf("t-2"), "left pending");
  phone_.start();
  EXPECT_TRUE(log_.contains("Base copies made for 1 records")) << "t-1 keeps its confirmed copy";
  EXPECT_TRUE(phone_.store().persistence().hasBaseRecord("t-2"));
  phone_.send();
  laptop_.start();
  EXPECT_EQ(laptop_.titleOf("t-1"), "edited, left pending");
  EXPECT_EQ(laptop_.titleOf("t-2"), "left pending");
}

TEST_F(CloudKitStoreTest, ACorruptSavedEngineStateStartsCold) {
  const std::string corrupt = "{not json";
  std::string problem;
  try {
    SyncEngineState::deserialize(corrupt);
  } catch (const DecodingError& error) {
    problem = error.what();
  }
  phone_.store().persistence().writeSyncEngineState(corrupt);
  phone_.start();
  EXPECT_TRUE(log_.contains("Saved engine state failed to decode (" + problem + "); starting cold"));
  EXPECT_TRUE(log_.contains("CloudKitStore started; accountStatus=available; restoredState=false"));
}

TEST_F(CloudKitStoreTest, WritesWaitForStartAndTheResetLeavesAnEmptyZone) {
  EXPECT_THROW(phone_.store().saveRecord(task("t-1", "x")), CloudKitStoreError);
  phone_.start();
  phone_.store().saveRecord(task("t-1", "x"));
  phone_.send();
  phone_.store().wipeAllData();
  EXPECT_TRUE(log_.contains("VantrelZone deleted from iCloud (manual reset)"));
  EXPECT_TRUE(log_.contains("Reset complete; VantrelZone recreated, ready for new data"));
  EXPECT_EQ(phone_.store().cache().recordCount(), 0u);
  EXPECT_TRUE(server_.fetchZoneChanges(privateScope, phone_.store().zoneID(), std::nullopt, 0)
                  .modifiedRecords.empty());
}

} // namespace
} // namespace vantrel
