// The store's side of the private sync engine: records to send, and what the engine brings back.
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/SyncErrorMessage.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"

namespace vantrel {

std::optional<CloudRecord> CloudKitStore::buildRecord(const CloudRecordID& recordID) {
  std::optional<CloudRecord> record;
  const auto build = [&]<class Record>(const Record& entity) {
    const auto recordType = CloudKitDomainRecord<Record>::recordType;
    try {
      if (const auto kept = keptSystemFields(recordType, recordID.recordName)) {
        record = unarchiveCKRecord(*kept);
        applyToCloudRecord(entity, *record);
        return;
      }
    } catch (const CloudKitRecordError& error) {
      // Sent as new, the record meets the server's copy as a conflict, which the merge settles.
      logger_.error("Kept system fields of %{public}s unusable (%@); sending as new", recordID.recordName,
                    error.what());
    }
    record = makeCloudRecord(entity, recordID.zoneID);
  };
  if (recordID.recordName == schemaVersionRecordName) {
    if (cache_.schemaVersion()) {
      build(*cache_.schemaVersion());
    }
    return record;
  }
  cache_.visitRecord(recordID.recordName, build);
  return record;
}

// The copies reach the disk with the next save point, after the records they describe.
void CloudKitStore::keepServerCopies(std::span<const CloudRecord* const> records) {
  auto& copies = commits_.serverCopies();
  for (const CloudRecord* record : records) {
    const auto& name = record->recordID().recordName;
    copies.keepSystemFields(record->recordType(), name, record->systemFieldsData());
    copies.keepBaseRecord(name, record->wholeRecordData());
  }
}

std::optional<std::string> CloudKitStore::keptSystemFields(std::string_view recordType,
                                                           std::string_view recordName) const {
  if (auto kept = commits_.serverCopies().systemFields(recordType, recordName)) {
    return std::move(*kept);
  }
  return persistence_.readSystemFields(recordType, recordName);
}

std::optional<std::string> CloudKitStore::keptBaseRecord(std::string_view recordName) const {
  if (auto kept = commits_.serverCopies().baseRecord(recordName)) {
    return kept;
  }
  return persistence_.readBaseRecord(recordName);
}

void CloudKitStore::keepServerCopy(const CloudRecord& record) {
  const CloudRecord* const one = &record;
  keepServerCopies(std::span(&one, 1));
}

void CloudKitStore::ingest(std::span<const CloudRecord> records) {
  std::vector<const CloudRecord*> taken;
  for (const auto& record : records) {
    const auto& type = record.recordType();
    const auto& name = record.recordID().recordName;
    const auto pending = syncEngine_ ? syncEngine_->state().pendingChange(record.recordID()) : std::nullopt;
    if (!bridgeIsApplying_ && pending == PendingRecordZoneChange::Kind::saveRecord) {
      logger_.info("ingest: skipping %{public}s/%{public}s; local pending save", type, name);
      continue;
    }
    // A record deleted here stays deleted: taking an older version in would bring it back, and its
    // bookkeeping with it, so that the next edit would make it anew on the server.
    if (pending == PendingRecordZoneChange::Kind::deleteRecord) {
      logger_.info("ingest: skipping %{public}s/%{public}s; local pending delete", type, name);
      continue;
    }
    logger_.debug("private ingest: %{public}s/%{public}s", type, name);
    if (takeIntoCache(record)) {
      taken.push_back(&record);
    }
  }
  keepServerCopies(taken);
}

bool CloudKitStore::takeIntoCache(const CloudRecord& record) {
  const auto& type = record.recordType();
  bool taken = false;
  const bool known = visitCloudKitDomainRecordType(type, [&]<class Record>() {
    try {
      auto entity = readCloudRecord<Record>(record);
      if constexpr (std::is_same_v<Record, SchemaVersionRecord>) {
        cache_.setSchemaVersion(std::move(entity));
      } else {
        cache_.upsert(std::move(entity));
      }
      taken = true;
    } catch (const CloudKitRecordError& error) {
      logger_.error("Failed to parse CKRecord %s/%s: %@", type, record.recordID().recordName, error.what());
      recordUnreadable(type, record.recordID().recordName, error.what());
    }
  });
  if (!known) {
    logger_.error("Unknown CKRecord type: %s", type);
  }
  return taken;
}

void CloudKitStore::removeFromCache(std::string_view recordType, std::string_view recordName) {
  visitCloudKitDomainRecordType(recordType, [&]<class Record>() {
    if constexpr (std::is_same_v<Record, SchemaVersionRecord>) {
      cache_.setSchemaVersion(std::nullopt);
    } else {
      cache_.remove<Record>(recordName);
    }
  });
}

void CloudKitStore::removeFetched(const CloudDeletedRecord& deleted) {
  const auto& name = deleted.recordID.recordName;
  removeFromCache(deleted.recordType, name);
  commits_.serverCopies().forgetSystemFieldsByName(name);
}

void CloudKitStore::confirmSaves(std::span<const CloudRecord> records) {
  std::vector<CloudRecord> confirmed;
  std::vector<const CloudRecord*> keptOnly;
  for (const auto& record : records) {
    const auto& name = record.recordID().recordName;
    if (record.recordType() != CKRecordTypes::cloudShare && syncEngine_ &&
        syncEngine_->state().pendingChange(record.recordID()) == PendingRecordZoneChange::Kind::saveRecord) {
      // The user edited the record again while this save was in flight: the cache keeps the newer edit,
      // which goes next on the tag the server just gave, so it does not conflict with this device's own
      // save.
      keptOnly.push_back(&record);
      if (const auto& tag = record.systemFields().changeTag) {
        keptConfirmedTags_[name] = *tag;
      }
      logger_.info(
          "save confirmed: %{public}s/%{public}s; newer local edit pending, kept on the new change tag",
          record.recordType(), name);
    } else {
      confirmed.push_back(record);
    }
  }
  keepServerCopies(keptOnly);
  for (const auto& record : records) {
    if (const auto failure = recordFailures_.find(record.recordID().recordName);
        failure != recordFailures_.end() && failure->second.operation == "save") {
      recordFailures_.erase(failure);
    }
  }
  ingest(confirmed);
  updatePendingWrites();
}

void CloudKitStore::handleFailedSave(const CloudRecord& record, const CloudError& error) {
  const auto& type = record.recordType();
  const auto& name = record.recordID().recordName;
  switch (error.code()) {
  case CloudErrorCode::networkUnavailable:
  case CloudErrorCode::networkFailure:
  case CloudErrorCode::serviceUnavailable:
  case CloudErrorCode::requestRateLimited:
  case CloudErrorCode::notAuthenticated:
  case CloudErrorCode::operationCancelled:
  case CloudErrorCode::zoneBusy:
    // The engine keeps the change and sends it again by itself.
    break;
  case CloudErrorCode::serverRecordChanged:
    if (!error.serverRecord()) {
      logger_.error("serverRecordChanged with no serverRecord; cannot resolve");
      parkFailedChange(PendingRecordZoneChange::save(record.recordID()), type, error);
      break;
    }
    handleConflict(error);
    break;
  case CloudErrorCode::quotaExceeded: {
    logger_.error("CloudKit quota exceeded; surfacing banner and queuing retry");
    auto message = SyncErrorMessage::forError(error, externalBridgeLockOwnerName_);
    logger_.error("Quota exceeded; surfacing banner [%{public}s] and queuing %{public}s for retry", message,
                  name);
    pendingQuotaRetries_.insert(name);
    lastUIError_ = UIError{std::move(message), true};
    break;
  }
  case CloudErrorCode::zoneNotFound:
  case CloudErrorCode::userDeletedZone:
    handleZoneDeletion(CloudKitZoneDeleteReason::purgedByUser);
    break;
  default:
    logger_.error("Unhandled save failure: code=%{public}ld type=%{public}s name=%{public}s",
                  std::int64_t(error.code()), type, name);
    lastUIError_ = UIError{SyncErrorMessage::forError(error, externalBridgeLockOwnerName_), false};
    parkFailedChange(PendingRecordZoneChange::save(record.recordID()), type, error);
    break;
  }
  updatePendingWrites();
}

void CloudKitStore::handleFailedDelete(const CloudRecordID& recordID, const CloudError& error) {
  if (SyncEngine::isRetryable(error.code())) {
    return;
  }
  if (error.code() == CloudErrorCode::unknownItem) {
    // Gone already: what the delete wanted.
    commits_.serverCopies().forgetSystemFieldsByName(recordID.recordName);
    return;
  }
  logger_.error("Unhandled delete failure: code=%{public}ld name=%{public}s", std::int64_t(error.code()),
                recordID.recordName);
  lastUIError_ = UIError{SyncErrorMessage::forError(error, externalBridgeLockOwnerName_), false};
  parkFailedChange(PendingRecordZoneChange::remove(recordID), "", error);
  updatePendingWrites();
}

// A refused change is never dropped: the user made it, and only a later change of theirs may replace it.
// It waits outside the engine, so that this send does not spin on it, and goes again with the next sync.
void CloudKitStore::parkFailedChange(PendingRecordZoneChange change, std::string_view recordType,
                                     const CloudError& error) {
  const auto name = change.recordID.recordName;
  const bool save = change.kind == PendingRecordZoneChange::Kind::saveRecord;
  recordFailures_.insert_or_assign(name, RecordSyncFailure{.operation = save ? "save" : "delete",
                                                           .recordType = std::string(recordType),
                                                           .recordName = name,
                                                           .errorDescription = error.what(),
                                                           .date = environment_.clock.now()});
  parkedChanges_.insert_or_assign(name, std::move(change));
}

void CloudKitStore::recordUnreadable(std::string recordType, std::string recordName,
                                     std::string errorDescription) {
  auto name = recordName;
  recordFailures_.insert_or_assign(std::move(name),
                                   RecordSyncFailure{.operation = "fetch",
                                                     .recordType = std::move(recordType),
                                                     .recordName = std::move(recordName),
                                                     .errorDescription = std::move(errorDescription),
                                                     .date = environment_.clock.now()});
}

std::vector<PendingRecordZoneChange> CloudKitStore::parkedChangeList() const {
  std::vector<PendingRecordZoneChange> changes;
  for (const auto& name : pendingQuotaRetries_) {
    changes.push_back(PendingRecordZoneChange::save(CloudRecordID{name, zoneID()}));
  }
  for (const auto& [name, change] : parkedChanges_) {
    changes.push_back(change);
  }
  return changes;
}

std::vector<PendingRecordZoneChange> CloudKitStore::changesToKeep() const {
  auto changes = syncEngine_ ? syncEngine_->state().pendingRecordZoneChanges() : restoredPendingChanges_;
  for (auto& change : parkedChangeList()) {
    changes.push_back(std::move(change));
  }
  return changes;
}

void CloudKitStore::retryRecordFailures() {
  if (!syncEngine_) {
    return;
  }
  if (!parkedChanges_.empty()) {
    std::vector<PendingRecordZoneChange> changes;
    for (auto& [name, change] : std::exchange(parkedChanges_, {})) {
      changes.push_back(std::move(change));
    }
    addPendingChanges(changes);
    logger_.info("Re-queued %{public}ld refused change(s)", std::int64_t(changes.size()));
  }
  if (isOffline()) {
    return;
  }
  // A record that could not be read may have been repaired (or deleted) since; a handful each time, so a
  // zone full of bad rows cannot make every fetch slow.
  constexpr std::size_t unreadableRetriesPerFetch = 20;
  std::vector<std::string> unreadable;
  for (const auto& [name, failure] : recordFailures_) {
    if (failure.operation == "fetch" && unreadable.size() < unreadableRetriesPerFetch) {
      unreadable.push_back(name);
    }
  }
  for (const auto& name : unreadable) {
    try {
      const CloudRecord record =
          container().fetchRecord(CloudDatabaseScope::privateDatabase, CloudRecordID{name, zoneID()});
      recordFailures_.erase(name);
      ingest(std::span(&record, 1));
    } catch (const CloudError& error) {
      if (error.code() == CloudErrorCode::unknownItem) {
        recordFailures_.erase(name);
      }
    }
  }
}

// Emptying the cache and forgetting the engine state makes the next fetch start from nothing. The kept
// bookkeeping and the schema flag go too when the zone was deleted; after an encrypted-data reset they
// deliberately stay.
void CloudKitStore::handleZoneDeletion(CloudKitZoneDeleteReason reason) {
  logger_.error("Zone deleted: %s", cloudKitZoneDeleteReasonName(reason));
  cache_.removeAll();
  keptConfirmedTags_.clear();
  persistence_.deleteSyncEngineState();
  if (reason != CloudKitZoneDeleteReason::encryptedDataReset) {
    commits_.serverCopies().forgetAllSystemFields();
    schemaMigrationComplete_ = false;
  }
  ++dataVersion_;
}

} // namespace vantrel
