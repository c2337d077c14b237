#include "VantrelCore/Store/CloudKitSyncDelegate.hpp"

#include "VantrelCore/Store/CloudKitStore.hpp"

#include <atomic>

namespace vantrel {
namespace {

std::atomic<std::int64_t> instances = 0;

CloudKitZoneDeleteReason storeReason(CloudZoneDeletionReason reason) {
  switch (reason) {
  case CloudZoneDeletionReason::purged:
    return CloudKitZoneDeleteReason::purgedByUser;
  case CloudZoneDeletionReason::encryptedDataReset:
    return CloudKitZoneDeleteReason::encryptedDataReset;
  case CloudZoneDeletionReason::deleted:
    break;
  }
  return CloudKitZoneDeleteReason::deletedByApp;
}

CloudKitAccountChange storeChange(AccountChangeEvent::Kind kind) {
  switch (kind) {
  case AccountChangeEvent::Kind::signOut:
    return CloudKitAccountChange::signedOut;
  case AccountChangeEvent::Kind::switchAccounts:
    return CloudKitAccountChange::switchAccounts;
  case AccountChangeEvent::Kind::signIn:
    break;
  }
  return CloudKitAccountChange::signedIn;
}

} // namespace

CloudKitSyncDelegate::CloudKitSyncDelegate(WeakReference<CloudKitStore> store)
    : store_(std::move(store)), logger_("com.vantrel.vantrel", "CloudKit"), instance_(++instances) {
  logger_.info("CloudKitSyncDelegate INIT %{public}ld", instance_);
}

CloudKitSyncDelegate::~CloudKitSyncDelegate() {
  logger_.info("CloudKitSyncDelegate DEINIT %{public}ld", instance_);
}

void CloudKitSyncDelegate::handleEvent(const SyncEngineEvent& event, SyncEngine&) {
  auto* locked = store_.get();
  if (locked == nullptr) {
    return;
  }
  CloudKitStore& store = *locked;
  if (std::holds_alternative<StateUpdateEvent>(event)) {
    // The state reaches the disk with the next save point, after the records its tokens cover.
    store.commits_.scheduleWrite();
  } else if (const auto* account = std::get_if<AccountChangeEvent>(&event)) {
    store.handleAccountChange(storeChange(account->kind));
  } else if (const auto* zones = std::get_if<FetchedDatabaseChangesEvent>(&event)) {
    logger_.info("fetchedDatabaseChanges: %ld mods, %ld dels", std::int64_t(zones->modifications.size()),
                 std::int64_t(zones->deletions.size()));
    for (const auto& deletion : zones->deletions) {
      if (deletion.zoneID == store.zoneID()) {
        store.handleZoneDeletion(storeReason(deletion.reason));
      }
    }
  } else if (const auto* fetched = std::get_if<FetchedRecordZoneChangesEvent>(&event)) {
    store.ingest(fetched->modifications);
    for (const auto& deleted : fetched->deletions) {
      store.removeFetched(deleted);
    }
    for (const auto& unreadable : fetched->unreadableRecords) {
      const auto type = unreadable.recordType.value_or("");
      logger_.error("Failed to parse CKRecord %s/%s: %@", type, unreadable.recordID.recordName,
                    unreadable.error);
      store.recordUnreadable(type, unreadable.recordID.recordName, unreadable.error);
    }
  } else if (const auto* sent = std::get_if<SentRecordZoneChangesEvent>(&event)) {
    store.confirmSaves(sent->savedRecords);
    for (const auto& [record, error] : sent->failedRecordSaves) {
      store.handleFailedSave(record, error);
    }
    for (const auto& recordID : sent->deletedRecordIDs) {
      store.commits_.serverCopies().forgetSystemFieldsByName(recordID.recordName);
      store.recordFailures_.erase(recordID.recordName);
    }
    for (const auto& [recordID, error] : sent->failedRecordDeletes) {
      store.handleFailedDelete(recordID, error);
    }
    store.updatePendingWrites();
  } else if (std::holds_alternative<WillFetchChangesEvent>(event)) {
    store.setFetching(true);
  } else if (std::holds_alternative<DidFetchChangesEvent>(event)) {
    store.setFetching(false);
  } else if (std::holds_alternative<WillFetchRecordZoneChangesEvent>(event) ||
             std::holds_alternative<DidFetchRecordZoneChangesEvent>(event) ||
             std::holds_alternative<WillSendChangesEvent>(event) ||
             std::holds_alternative<DidSendChangesEvent>(event)) {
    // Nothing to keep beyond whether a fetch is under way.
  } else {
    logger_.info("Unknown CKSyncEngine.Event case; ignoring");
  }
}

std::optional<RecordZoneChangeBatch>
CloudKitSyncDelegate::nextRecordZoneChangeBatch(const SendChangesContext&, SyncEngine& engine) {
  auto* locked = store_.get();
  if (locked == nullptr) {
    return std::nullopt;
  }
  CloudKitStore& store = *locked;
  return RecordZoneChangeBatch::make(
      engine.state().pendingRecordZoneChanges(),
      [&](const CloudRecordID& recordID) { return store.buildRecord(recordID); });
}

} // namespace vantrel
