// Saves the server refused because it holds a newer version, failures the user must hear of, and how
// well the store keeps up.
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/ConflictNotice.hpp"
#include "VantrelCore/Store/SyncErrorMessage.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"
#include "VantrelCore/Sync/ConflictMerge.hpp"

namespace vantrel {
namespace {

std::string joined(const std::vector<std::string>& keys) {
  std::string text;
  for (const auto& key : keys) {
    text += (text.empty() ? "" : ",") + key;
  }
  return text;
}

} // namespace

void CloudKitStore::handleConflict(const CloudError& error) {
  const CloudRecord& server = *error.serverRecord();
  const auto& type = server.recordType();
  const auto& name = server.recordID().recordName;
  const auto keepServerTag = [&] {
    commits_.serverCopies().keepSystemFields(type, name, server.systemFieldsData());
  };

  if (const auto kept = keptConfirmedTags_.find(name);
      kept != keptConfirmedTags_.end() && server.systemFields().changeTag == kept->second) {
    logger_.info("Conflict with this device's own confirmed save: %{public}s/%{public}s; resending on the "
                 "current tag",
                 type, name);
    keepServerTag();
    enqueue(PendingRecordZoneChange::save(server.recordID()));
    return;
  }

  const auto local = buildRecord(server.recordID());
  if (!local) {
    logger_.info("Conflict on a record deleted here: %{public}s/%{public}s; the waiting delete stands", type,
                 name);
    return;
  }

  std::optional<CloudRecord> ancestor;
  if (const auto base = keptBaseRecord(name)) {
    try {
      ancestor = unarchiveWholeCKRecord(*base);
    } catch (const CloudKitRecordError& unreadable) {
      logger_.error("Base copy of %{public}s unusable: %@", name, unreadable.what());
    }
  }
  if (!ancestor && error.ancestorRecord()) {
    ancestor = *error.ancestorRecord();
  }
  const auto label = [&](const CloudRecord& record) {
    return ConflictNotice::displayLabel(record, [&](std::string_view task) -> std::optional<std::string> {
      const auto found = cache_.tasks().find(std::string(task));
      return found == cache_.tasks().end() ? std::nullopt : std::optional(found->second.title);
    });
  };
  const SyncConflict conflict{.recordType = type,
                              .recordName = name,
                              .localLabel = label(*local),
                              .serverLabel = label(server),
                              .date = environment_.clock.now()};

  if (!ancestor) {
    logger_.info(
        "Conflict without an ancestor to merge against: %{public}s/%{public}s; taking iCloud's version", type,
        name);
    if (takeIntoCache(server)) {
      keepServerCopy(server);
    }
    recordConflict(conflict, ConflictNotice::wholeRecordNotice(conflict.localLabel));
    return;
  }

  const auto merge = ConflictMerge::merge(*ancestor, *local, server);
  logger_.info("Conflict merged: %{public}s/%{public}s; kept [%{public}s], clashed [%{public}s]", type, name,
               joined(merge.kept), joined(merge.clashed));
  // The base copy stays the ancestor until the merged save is confirmed.
  if (takeIntoCache(merge.merged)) {
    keepServerTag();
    enqueue(PendingRecordZoneChange::save(server.recordID()));
  }
  if (!merge.clashed.empty()) {
    recordConflict(conflict, ConflictNotice::fieldNotice(merge.clashed, conflict.localLabel,
                                                         ConflictNotice::Source::otherDevice));
  }
}

void CloudKitStore::recordConflict(SyncConflict conflict, std::string notice) {
  lastConflict_ = conflict;
  recentConflicts_.push_back(std::move(conflict));
  while (recentConflicts_.size() > recentConflictLimit) {
    recentConflicts_.pop_front();
  }
  lastUIError_ = UIError{std::move(notice), true};
}

void CloudKitStore::requeueQuotaRetries() {
  if (pendingQuotaRetries_.empty() || !syncEngine_) {
    return;
  }
  std::vector<PendingRecordZoneChange> changes;
  for (const auto& name : pendingQuotaRetries_) {
    changes.push_back(PendingRecordZoneChange::save(CloudRecordID{name, zoneID()}));
  }
  pendingQuotaRetries_.clear();
  addPendingChanges(changes);
  logger_.info("Re-queued %{public}ld record(s) after quota-exceeded", std::int64_t(changes.size()));
}

SyncHealth CloudKitStore::syncHealth() const {
  const Date now = environment_.clock.now();
  if (accountStatus_ == CloudAccountStatus::noAccount || accountStatus_ == CloudAccountStatus::restricted ||
      consecutiveFetchFailures_ > 5) {
    return SyncHealth::broken;
  }
  if (!recordFailures_.empty() || (lastFetch_ && lastFetch_->errorDescription) ||
      (pendingSince_ && now.timeIntervalSince(*pendingSince_) > 30) ||
      (lastFetch_ && now.timeIntervalSince(lastFetch_->when) > 300) || consecutiveFetchFailures_ > 2) {
    return SyncHealth::degraded;
  }
  return SyncHealth::healthy;
}

SyncStatus CloudKitStore::syncStatus() const {
  return SyncStatus{.lastFetch = lastFetch_,
                    .consecutiveFetchFailures = consecutiveFetchFailures_,
                    .pendingSince = pendingSince_,
                    .recentConflicts = recentConflicts_,
                    .lastUIError = lastUIError_,
                    .recordFailures = [&] {
                      std::vector<RecordSyncFailure> failures;
                      for (const auto& [name, failure] : recordFailures_) {
                        failures.push_back(failure);
                      }
                      return failures;
                    }()};
}

void CloudKitStore::restoreSyncStatus(SyncStatus status) {
  lastFetch_ = std::move(status.lastFetch);
  consecutiveFetchFailures_ = int(status.consecutiveFetchFailures);
  pendingSince_ = status.pendingSince;
  recentConflicts_ = std::move(status.recentConflicts);
  while (recentConflicts_.size() > recentConflictLimit) {
    recentConflicts_.pop_front();
  }
  lastConflict_ = recentConflicts_.empty() ? std::nullopt : std::optional(recentConflicts_.back());
  lastUIError_ = std::move(status.lastUIError);
  for (auto& failure : status.recordFailures) {
    auto name = failure.recordName;
    recordFailures_.insert_or_assign(std::move(name), std::move(failure));
  }
}

void CloudKitStore::reportUIWriteFailure(std::string_view operation, const std::exception& error) {
  logger_.info("UI write failed [%{public}s]: %{private}@", operation, error.what());
  lastUIError_ = UIError{SyncErrorMessage::forError(error, externalBridgeLockOwnerName_), true};
}

} // namespace vantrel
