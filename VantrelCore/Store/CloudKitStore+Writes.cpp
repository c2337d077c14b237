// The two primitives every mutation goes through, and the guard in front of them.
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"

namespace vantrel {

void CloudKitStore::guardWrite() const {
  if (isFrozen() && !bridgeIsApplying_) {
    throw CloudKitStoreError::storeFrozenByBridge();
  }
  if (!syncEngine_) {
    throw CloudKitStoreError::notStarted();
  }
  if (!schemaMigrationComplete_) {
    throw CloudKitStoreError::schemaNotMigrated();
  }
}

void CloudKitStore::enqueue(PendingRecordZoneChange change) {
  if (writeBatchDepth_ > 0) {
    batchedChanges_.push_back(std::move(change));
    return;
  }
  addPendingChanges(std::span(&change, 1));
}

void CloudKitStore::addPendingChanges(std::span<const PendingRecordZoneChange> changes) {
  if (changes.empty() || !syncEngine_) {
    return;
  }
  syncEngine_->add(changes);
  updatePendingWrites();
  lastWrite_ = WriteOutcome{environment_.clock.now(), std::int64_t(changes.size()), std::nullopt};
}

void CloudKitStore::performAtomically(const std::function<void()>& change) {
  const auto undoable = lastUndoable_;
  cache_.openRollbackLog();
  commits_.serverCopies().openRollbackLog();
  ++writeBatchDepth_;
  try {
    change();
  } catch (...) {
    --writeBatchDepth_;
    if (writeBatchDepth_ == 0) {
      batchedChanges_.clear();
    }
    cache_.rollBack();
    commits_.serverCopies().rollBack();
    lastUndoable_ = undoable;
    throw;
  }
  cache_.closeRollbackLog();
  commits_.serverCopies().closeRollbackLog();
  if (--writeBatchDepth_ == 0) {
    addPendingChanges(std::exchange(batchedChanges_, {}));
  }
}

CloudKitStore::WriteScope::WriteScope(CloudKitStore& store) : store_(store) {
  store_.guardWrite();
  ++store_.writeBatchDepth_;
}

CloudKitStore::WriteScope::~WriteScope() {
  if (--store_.writeBatchDepth_ == 0) {
    store_.addPendingChanges(std::exchange(store_.batchedChanges_, {}));
  }
}

void CloudKitStore::updatePendingWrites() {
  pendingWriteCount_ =
      (syncEngine_ ? std::int64_t(syncEngine_->state().pendingRecordZoneChanges().size()) : 0) +
      std::int64_t(pendingQuotaRetries_.size() + parkedChanges_.size());
  if (pendingWriteCount_ == 0) {
    pendingSince_.reset();
  } else if (!pendingSince_) {
    pendingSince_ = environment_.clock.now();
  }
}

void CloudKitStore::deleteRecord(std::string_view recordType, std::string_view recordName) {
  guardWrite();
  // A copy: the name may be the cached record's own, which the removal frees.
  std::string name(recordName);
  removeFromCache(recordType, name);
  commits_.serverCopies().forgetSystemFields(recordType, name);
  enqueue(PendingRecordZoneChange::remove(CloudRecordID{std::move(name), zoneID()}));
}

// The schema record is written straight to the database rather than queued: writes wait for it, and a
// second device that wrote it first simply hands over its copy.
void CloudKitStore::runFirstLaunchFlow() {
  if (!syncEngine_) {
    throw CloudKitStoreError::notStarted();
  }
  if (schemaMigrationComplete_) {
    return;
  }
  const auto record = makeCloudRecord(SchemaVersionRecord{currentSchemaVersion}, zoneID());
  auto result = container().modifyRecords(CloudDatabaseScope::privateDatabase, {.recordsToSave = {record}});
  auto& outcome = result.saveResults.at(0).second;
  if (const auto* error = std::get_if<CloudError>(&outcome)) {
    if (error->code() != CloudErrorCode::serverRecordChanged || !error->serverRecord()) {
      throw *error;
    }
    CloudRecord server = *error->serverRecord();
    outcome = std::move(server);
  }
  const auto& saved = std::get<CloudRecord>(outcome);
  keepServerCopy(saved);
  cache_.setSchemaVersion(readCloudRecord<SchemaVersionRecord>(saved));
  schemaMigrationComplete_ = true;
  logger_.info("Schema version %ld written to VantrelZone", currentSchemaVersion);
  drainPendingIntentActions();
}

} // namespace vantrel
