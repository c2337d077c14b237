#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/ConflictNotice.hpp"
#include "VantrelCore/Store/SyncErrorMessage.hpp"
#include "VantrelCore/Sync/CloudError.hpp"

#include <gtest/gtest.h>
#include <stdexcept>

namespace vantrel {
namespace {

TEST(SyncErrorMessage, EveryCloudCodeHasItsLine) {
  const struct {
    CloudErrorCode code;
    std::string message;
  } cases[] = {
      {CloudErrorCode::networkUnavailable,
       "No network connection. Your change is saved locally and will sync when you're back online."},
      {CloudErrorCode::networkFailure, "Network dropped mid-sync. Will retry automatically."},
      {CloudErrorCode::badContainer, "Internal sync error (5). Please report if you see this repeatedly."},
      {CloudErrorCode::invalidArguments,
       "Internal sync error (12). Please report if you see this repeatedly."},
      {CloudErrorCode::constraintViolation,
       "Internal sync error (19). Please report if you see this repeatedly."},
      {CloudErrorCode::badDatabase, "Internal sync error (24). Please report if you see this repeatedly."},
      {CloudErrorCode::serviceUnavailable, "iCloud is down. Will retry when service is back."},
      {CloudErrorCode::requestRateLimited, "Too many sync requests. Pausing briefly, will resume."},
      {CloudErrorCode::notAuthenticated,
       "iCloud session expired. Open System Settings → Apple ID to re-authenticate."},
      {CloudErrorCode::permissionFailure,
       "iCloud denied this write. Check that Vantrel is allowed to use iCloud in "
       "System Settings → Apple ID → iCloud."},
      {CloudErrorCode::serverRecordChanged,
       "Another device edited this at the same time. The other change won; re-do yours if needed."},
      {CloudErrorCode::changeTokenExpired,
       "Sync token expired. Vantrel will resync from scratch automatically."},
      {CloudErrorCode::batchRequestFailed,
       "Part of a sync batch failed. The successful items are saved; the rest will retry."},
      {CloudErrorCode::zoneBusy, "iCloud is busy with your account. Will retry shortly."},
      {CloudErrorCode::quotaExceeded, "Your iCloud storage is full. Free space or upgrade to keep syncing."},
      {CloudErrorCode::zoneNotFound, "Sync zone missing. Vantrel will recreate it on next launch."},
      {CloudErrorCode::userDeletedZone, "Sync zone missing. Vantrel will recreate it on next launch."},
      {CloudErrorCode::managedAccountRestricted,
       "iCloud is restricted on this device by Screen Time, MDM, or "
       "Family Sharing. Contact your account administrator."},
      {CloudErrorCode::serverResponseLost, "iCloud didn't confirm the write. Will retry."},
      {CloudErrorCode::accountTemporarilyUnavailable,
       "iCloud is temporarily unavailable. Will retry shortly."},
      {CloudErrorCode::limitExceeded, "iCloud write failed: The request was too large."},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SyncErrorMessage::forError(CloudError(c.code, "The request was too large."), std::nullopt),
              c.message)
        << cloudErrorCodeName(c.code);
  }
}

TEST(SyncErrorMessage, TheStoresOwnRefusalsSpeakToThePerson) {
  const struct {
    const char* name;
    CloudKitStoreError error;
    std::optional<std::string> lockOwner;
    std::string message;
  } cases[] = {
      {"area not empty", CloudKitStoreError::areaNotEmpty("home", 1, 0), std::nullopt,
       "Move or delete the projects and tasks inside this area first."},
      {"locked project",
       CloudKitStoreError::projectNotShareable("p-1",
                                               CloudKitStoreError::ShareIneligibleReason::bridgeLocked),
       std::nullopt, "This project is locked by a bridge session. Close the bridge to share."},
      {"archived project",
       CloudKitStoreError::projectNotShareable("p-1", CloudKitStoreError::ShareIneligibleReason::archived),
       std::nullopt, "Unarchive this project to share it."},
      {"bridge open here", CloudKitStoreError::storeFrozenByBridge(), std::nullopt,
       "Vantrel is paused while a bridge session is open. Close the bridge from the Bridge menu to keep "
       "editing."},
      {"bridge owner unnamed", CloudKitStoreError::storeFrozenByBridge(), "",
       "Vantrel is paused while a bridge session is open. Close the bridge from the Bridge menu to keep "
       "editing."},
      {"bridge open elsewhere", CloudKitStoreError::storeFrozenByBridge(), "Studio Mac",
       "Vantrel is paused while a bridge session is open on Studio Mac. Close it there to keep editing."},
      {"other store errors", CloudKitStoreError::recordNotFound("Task", "t-1"), std::nullopt,
       "Write failed: CloudKit record not found: Task/t-1"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SyncErrorMessage::forError(c.error, c.lockOwner), c.message) << c.name;
  }
  EXPECT_EQ(SyncErrorMessage::forError(std::runtime_error("disk full"), std::nullopt),
            "Write failed: disk full");
}

TEST(ConflictNotice, NamesTheClashedFieldsAndTheRecord) {
  const struct {
    std::vector<std::string> keys;
    std::optional<std::string> label;
    ConflictNotice::Source source;
    std::string notice;
  } cases[] = {
      {{"title"},
       "Buy milk",
       ConflictNotice::Source::otherDevice,
       "Your change to the title of Buy milk was replaced by an edit from your other device. The rest of "
       "your "
       "changes were kept."},
      {{"title", "notes"},
       "Buy milk",
       ConflictNotice::Source::sharedProject,
       "Your change to the title and notes of Buy milk was replaced by another edit to this shared project. "
       "The "
       "rest of your changes were kept."},
      {{"done", "dueDate", "homeRef", "parentTaskRef", "title"},
       std::nullopt,
       ConflictNotice::Source::otherDevice,
       "Your change to the done state, deadline, place and title of an item was replaced by an edit from "
       "your "
       "other device. The rest of your changes were kept."},
      {{"someNewKey"},
       "",
       ConflictNotice::Source::otherDevice,
       "Your change to the details of an item was replaced by an edit from your other device. The rest of "
       "your "
       "changes were kept."},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ConflictNotice::fieldNotice(c.keys, c.label, c.source), c.notice);
  }
  EXPECT_EQ(ConflictNotice::wholeRecordNotice(std::nullopt),
            "An edit to an item was overwritten by another device. Check it and re-do if needed.");
}

TEST(ConflictNotice, LabelsComeFromTheFieldOfEachType) {
  const CloudRecordZoneID zone{"VantrelZone"};
  const auto record = [&](std::string type, std::string key, CloudValue value) {
    CloudRecord made(std::move(type), CloudRecordID{"x-1", zone});
    made.setValue(key, std::move(value));
    return made;
  };
  const auto taskTitle = [](std::string_view task) -> std::optional<std::string> {
    return task == "t-1" ? std::optional<std::string>("Buy milk") : std::nullopt;
  };
  const struct {
    CloudRecord record;
    std::optional<std::string> label;
  } cases[] = {
      {record("Task", "title", std::string("Buy milk")), "Buy milk"},
      {record("InboxItem", "title", std::string("Call Ann")), "Call Ann"},
      {record("ProjectSection", "title", std::string("Later")), "Later"},
      {record("Project", "name", std::string("Garden")), "Garden"},
      {record("Area", "name", std::string("Home")), "Home"},
      {record("Gap", "label", std::string("Morning")), "Morning"},
      {record("Gap", "time", std::string("09:00")), std::nullopt},
      {record("UserTaskSchedule", "taskRef", CloudReference{CloudRecordID{"t-1", zone}}), "Buy milk"},
      {record("UserTaskSchedule", "taskRef", CloudReference{CloudRecordID{"t-2", zone}}), std::nullopt},
      {record("Day", "date", Date{1}), std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ConflictNotice::displayLabel(c.record, taskTitle), c.label) << c.record.recordType();
  }
}

} // namespace
} // namespace vantrel
