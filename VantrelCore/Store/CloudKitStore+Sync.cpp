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
      if (const auto kept = persistence_.readSystemFields(recordType, recordID.recordName)) {
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
  // Record names are unique across types, so the first map that holds the name holds the entity.
  std::apply(
      [&](const auto&... map) {
        (
            [&](const auto& member) {
              using Map = std::remove_cvref_t<decltype(std::declval<CloudKitCacheSnapshot>().*member)>;
              const auto& records = cache_.records<typename Map::mapped_type>();
              if (const auto found = records.find(recordID.recordName); !record && found != records.end()) {
                build(found->second);
              }
            }(map.second),
            ...);
      },
      CloudKitCacheSnapshot::maps());
  return record;
}

void CloudKitStore::keepServerCopies(std::span<const CloudRecord* const> records) {
  if (records.empty()) {
    return;
  }
  std::vector<CloudKitPersistence::ServerCopy> copies;
  copies.reserve(records.size());
  for (const CloudRecord* record : records) {
    copies.push_back({record->recordType(), record->recordID().recordName, record->systemFieldsData(),
                      record->wholeRecordData()});
  }
  try {
    persistence_.writeServerCopies(copies);
  } catch (const std::exception& error) {
    for (const CloudRecord* record : records) {
      logger_.error("Failed to store change tag for %s/%s: %@", record->recordType(),
                    record->recordID().recordName, error.what());
    }
  }
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
  persistence_.deleteSystemFields(deleted.recordType, name);
  persistence_.deleteSystemFieldsByName(name);
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
    break;
  }
  updatePendingWrites();
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
    persistence_.wipeAllSystemFields();
    schemaMigrationComplete_ = false;
  }
  ++dataVersion_;
}

} // namespace vantrel
