#include "VantrelCore/Store/SyncErrorMessage.hpp"

#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CloudError.hpp"

namespace vantrel {
namespace {

std::optional<std::string> storeMessage(const CloudKitStoreError& error,
                                        const std::optional<std::string>& externalLockOwnerName) {
  switch (error.kind()) {
  case CloudKitStoreError::Kind::areaNotEmpty:
    return "Move or delete the projects and tasks inside this area first.";
  case CloudKitStoreError::Kind::projectNotShareable:
    return error.shareIneligibleReason() == CloudKitStoreError::ShareIneligibleReason::bridgeLocked
               ? "This project is locked by a bridge session. Close the bridge to share."
               : "Unarchive this project to share it.";
  case CloudKitStoreError::Kind::storeFrozenByBridge:
    if (!externalLockOwnerName || externalLockOwnerName->empty()) {
      return "Vantrel is paused while a bridge session is open. Close the bridge from the Bridge menu to "
             "keep "
             "editing.";
    }
    return "Vantrel is paused while a bridge session is open on " + *externalLockOwnerName +
           ". Close it there to keep editing.";
  default:
    return std::nullopt;
  }
}

std::string cloudMessage(const CloudError& error) {
  switch (error.code()) {
  case CloudErrorCode::networkUnavailable:
    return "No network connection. Your change is saved locally and will sync when you're back online.";
  case CloudErrorCode::networkFailure:
    return "Network dropped mid-sync. Will retry automatically.";
  case CloudErrorCode::badContainer:
  case CloudErrorCode::invalidArguments:
  case CloudErrorCode::constraintViolation:
  case CloudErrorCode::badDatabase:
    return "Internal sync error (" + std::to_string(int(error.code())) +
           "). Please report if you see this repeatedly.";
  case CloudErrorCode::serviceUnavailable:
    return "iCloud is down. Will retry when service is back.";
  case CloudErrorCode::requestRateLimited:
    return "Too many sync requests. Pausing briefly, will resume.";
  case CloudErrorCode::notAuthenticated:
    return "iCloud session expired. Open System Settings → Apple ID to re-authenticate.";
  case CloudErrorCode::permissionFailure:
    return "iCloud denied this write. Check that Vantrel is allowed to use iCloud in System Settings → Apple "
           "ID → "
           "iCloud.";
  case CloudErrorCode::serverRecordChanged:
    return "Another device edited this at the same time. The other change won; re-do yours if needed.";
  case CloudErrorCode::changeTokenExpired:
    return "Sync token expired. Vantrel will resync from scratch automatically.";
  case CloudErrorCode::batchRequestFailed:
    return "Part of a sync batch failed. The successful items are saved; the rest will retry.";
  case CloudErrorCode::zoneBusy:
    return "iCloud is busy with your account. Will retry shortly.";
  case CloudErrorCode::quotaExceeded:
    return "Your iCloud storage is full. Free space or upgrade to keep syncing.";
  case CloudErrorCode::zoneNotFound:
  case CloudErrorCode::userDeletedZone:
    return "Sync zone missing. Vantrel will recreate it on next launch.";
  case CloudErrorCode::managedAccountRestricted:
    return "iCloud is restricted on this device by Screen Time, MDM, or Family Sharing. Contact your account "
           "administrator.";
  case CloudErrorCode::serverResponseLost:
    return "iCloud didn't confirm the write. Will retry.";
  case CloudErrorCode::accountTemporarilyUnavailable:
    return "iCloud is temporarily unavailable. Will retry shortly.";
  default:
    return "iCloud write failed: " + error.localizedDescription();
  }
}

} // namespace

std::string SyncErrorMessage::forError(const std::exception& error,
                                       const std::optional<std::string>& externalLockOwnerName) {
  if (const auto* store = dynamic_cast<const CloudKitStoreError*>(&error)) {
    if (auto message = storeMessage(*store, externalLockOwnerName)) {
      return *std::move(message);
    }
  } else if (const auto* cloud = dynamic_cast<const CloudError*>(&error)) {
    return cloudMessage(*cloud);
  }
  return "Write failed: " + std::string(error.what());
}

} // namespace vantrel
