// What the engines of both databases report, and how the store takes it in. The private database holds
// this user's data; the shared one the projects others shared, kept apart in the shared records.
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"

namespace vantrel {
namespace {

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

bool isShared(CloudDatabaseScope scope) {
  return scope == CloudDatabaseScope::sharedDatabase;
}

} // namespace

void CloudKitStore::stateUpdated(CloudDatabaseScope) {
  // The state reaches the disk with the next save point, after the records its tokens cover.
  commits_.scheduleWrite();
}

void CloudKitStore::accountChanged(CloudDatabaseScope scope, AccountChangeEvent::Kind kind) {
  // Both engines see the one account change; the private one's is enough.
  if (!isShared(scope)) {
    handleAccountChange(storeChange(kind));
  }
}

void CloudKitStore::databaseChangesFetched(CloudDatabaseScope scope,
                                           const FetchedDatabaseChangesEvent& event) {
  if (isShared(scope)) {
    sharedLogger_.info("shared db changes: %ld mods, %ld dels", std::int64_t(event.modifications.size()),
                       std::int64_t(event.deletions.size()));
    return;
  }
  logger_.info("fetchedDatabaseChanges: %ld mods, %ld dels", std::int64_t(event.modifications.size()),
               std::int64_t(event.deletions.size()));
  for (const auto& deletion : event.deletions) {
    if (deletion.zoneID == zoneID()) {
      handleZoneDeletion(storeReason(deletion.reason));
    }
  }
}

void CloudKitStore::recordChangesFetched(CloudDatabaseScope scope,
                                         const FetchedRecordZoneChangesEvent& event) {
  if (isShared(scope)) {
    takeInShared(event);
    return;
  }
  ingest(event.modifications);
  for (const auto& deleted : event.deletions) {
    removeFetched(deleted);
  }
  for (const auto& unreadable : event.unreadableRecords) {
    const auto type = unreadable.recordType.value_or("");
    logger_.error("Failed to parse CKRecord %s/%s: %@", type, unreadable.recordID.recordName,
                  unreadable.error);
    recordUnreadable(type, unreadable.recordID.recordName, unreadable.error);
  }
}

void CloudKitStore::recordChangesSent(CloudDatabaseScope scope, const SentRecordZoneChangesEvent& event) {
  // Nothing is sent to shared projects yet: the shared engine never holds a change.
  if (isShared(scope)) {
    return;
  }
  confirmSaves(event.savedRecords);
  for (const auto& [record, error] : event.failedRecordSaves) {
    handleFailedSave(record, error);
  }
  for (const auto& recordID : event.deletedRecordIDs) {
    commits_.serverCopies().forgetSystemFieldsByName(recordID.recordName);
    recordFailures_.erase(recordID.recordName);
  }
  for (const auto& [recordID, error] : event.failedRecordDeletes) {
    handleFailedDelete(recordID, error);
  }
  updatePendingWrites();
}

void CloudKitStore::fetchingChanged(CloudDatabaseScope scope, bool fetching) {
  if (!isShared(scope)) {
    isFetching_ = fetching;
  }
}

void CloudKitStore::unhandledEvent(CloudDatabaseScope scope) {
  if (!isShared(scope)) {
    logger_.info("Unknown CKSyncEngine.Event case; ignoring");
  }
}

std::optional<CloudRecord> CloudKitStore::recordToSend(CloudDatabaseScope scope,
                                                       const CloudRecordID& recordID) {
  return isShared(scope) ? std::nullopt : buildRecord(recordID);
}

void CloudKitStore::takeInShared(const FetchedRecordZoneChangesEvent& event) {
  sharedLogger_.info("shared fetched: %ld mods, %ld dels", std::int64_t(event.modifications.size()),
                     std::int64_t(event.deletions.size()));
  for (const auto& record : event.modifications) {
    takeInShared(record);
  }
  for (const auto& deleted : event.deletions) {
    const auto& name = deleted.recordID.recordName;
    sharedRecords_.projects.erase(name);
    sharedRecords_.tasks.erase(name);
    sharedRecords_.sections.erase(name);
    sharedRecords_.systemFields.erase(name);
  }
  sharedLogger_.info("Shared store: %{public}ld projects, %{public}ld tasks",
                     std::int64_t(sharedRecords_.projects.size()), std::int64_t(sharedRecords_.tasks.size()));
  commits_.scheduleWrite();
  ++dataVersion_;
}

void CloudKitStore::takeInShared(const CloudRecord& record) {
  const auto& type = record.recordType();
  const auto& name = record.recordID().recordName;
  try {
    if (type == CKRecordTypes::project) {
      sharedRecords_.projects.insert_or_assign(name, readCloudRecord<ProjectRecord>(record));
    } else if (type == CKRecordTypes::task) {
      sharedRecords_.tasks.insert_or_assign(name, readCloudRecord<TaskRecord>(record));
    } else if (type == CKRecordTypes::projectSection) {
      sharedRecords_.sections.insert_or_assign(name, readCloudRecord<ProjectSectionRecord>(record));
    } else {
      sharedLogger_.info("Shared zone: ignoring %{public}s", type);
      return;
    }
  } catch (const CloudKitRecordError& error) {
    sharedLogger_.error("Failed to parse shared CKRecord %{public}s: %{public}@", name, error.what());
    return;
  }
  sharedRecords_.systemFields.insert_or_assign(name, record.systemFieldsData());
  commits_.serverCopies().keepBaseRecord(name, record.wholeRecordData());
}

} // namespace vantrel
