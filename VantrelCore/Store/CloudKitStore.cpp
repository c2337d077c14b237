#include "VantrelCore/Store/CloudKitStore.hpp"

#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/CloudKitSyncDelegate.hpp"
#include "VantrelCore/Store/SavedEngineState.hpp"
#include "VantrelCore/Store/SharedSyncEngineDelegate.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"
#include "VantrelCore/Sync/UnreachableCloudDatabase.hpp"

#include <utility>

namespace vantrel {

CloudKitStore::CloudKitStore(CloudKitPersistence persistence, Environment environment)
    : persistence_(std::move(persistence)), environment_(std::move(environment)),
      logger_("com.vantrel.vantrel", "CloudKit"),
      commits_(
          cache_, persistence_, environment_.owner, environment_.snapshotQueue, environment_.clock,
          [this](LocalCommit& commit) { captureCommit(commit); }, [this] { ++dataVersion_; },
          environment_.widgets),
      rules_(cache_, *this, environment_.uuids ? *environment_.uuids : randomUUIDs_, environment_.clock) {
  const auto& restored = commits_.restore();
  restorePendingChanges();
  // Tokens are only as good as the records they cover: those must have come whole from a snapshot.
  recordsCoverTokens_ = !restored.errorDescription && restored.fileSize > 0;
  try {
    if (const auto bytes = persistence_.readSharedRecordsSnapshot()) {
      sharedRecords_ = SharedRecordStore::decodeJSON(*bytes);
    }
  } catch (const std::exception& error) {
    logger_.error("Failed to restore shared records snapshot: %@", error.what());
  }
}

CloudKitStore::~CloudKitStore() = default;

CloudDatabase& CloudKitStore::container() {
  if (!container_) {
    container_ = environment_.openContainer(environment_.containerIdentifier);
  }
  return *container_;
}

void CloudKitStore::restorePendingChanges() {
  std::optional<std::string> bytes;
  PendingChangeJournal journal;
  try {
    bytes = persistence_.readPendingChanges();
    if (!bytes) {
      return;
    }
    journal = PendingChangeJournal::decodeJSON(*bytes);
  } catch (const std::exception& error) {
    journalUnreadable_ = true;
    logger_.error("Failed to restore pending changes: %@", error.what());
    if (bytes) {
      persistence_.setAside(persistence_.pendingChangesURL(), logger_);
    }
    return;
  }
  commits_.noteLocalCommitOnDisk(journal.localCommit);
  // A journal older than the snapshot lists the right changes, but the snapshot holds newer records.
  const auto snapshotCommit = commits_.restoredLocalCommit();
  const bool layOver = !snapshotCommit || journal.localCommit >= *snapshotCommit;
  std::apply(
      [&](const auto&... map) {
        (
            [&](const auto& member) {
              for (const auto& [name, record] : journal.saves.*member) {
                if (layOver) {
                  cache_.upsert(record);
                }
                restoredPendingChanges_.push_back(
                    PendingRecordZoneChange::save(CloudRecordID{name, zoneID()}));
              }
            }(map.second),
            ...);
      },
      CloudKitCacheSnapshot::maps());
  if (journal.saves.schemaVersion) {
    if (layOver) {
      cache_.setSchemaVersion(journal.saves.schemaVersion);
    }
    restoredPendingChanges_.push_back(
        PendingRecordZoneChange::save(CloudRecordID{std::string(schemaVersionRecordName), zoneID()}));
  }
  for (const auto& name : journal.deletes) {
    if (layOver) {
      cache_.removeNamed(name);
    }
    restoredPendingChanges_.push_back(PendingRecordZoneChange::remove(CloudRecordID{name, zoneID()}));
  }
  logger_.info("Restored %ld pending changes", std::int64_t(restoredPendingChanges_.size()));
}

std::vector<PendingRecordZoneChange> CloudKitStore::rebuildPendingSaves() {
  std::vector<PendingRecordZoneChange> saves;
  std::apply(
      [&](const auto&... map) {
        (
            [&](const auto& member) {
              using Map = std::remove_cvref_t<decltype(std::declval<CloudKitCacheSnapshot>().*member)>;
              using Record = typename Map::mapped_type;
              for (const auto& [name, record] : cache_.records<Record>()) {
                bool same = false;
                try {
                  if (const auto base = keptBaseRecord(name)) {
                    same = readCloudRecord<Record>(unarchiveWholeCKRecord(*base)) == record;
                  }
                } catch (const std::exception& error) {
                  logger_.error("Base copy of %{public}s unusable: %@", name, error.what());
                }
                if (!same) {
                  saves.push_back(PendingRecordZoneChange::save(CloudRecordID{name, zoneID()}));
                }
              }
            }(map.second),
            ...);
      },
      CloudKitCacheSnapshot::maps());
  logger_.error("No list of pending changes survived; %ld records differ from their last server copy and "
                "will be sent again (deletions cannot be recovered)",
                std::int64_t(saves.size()));
  return saves;
}

std::optional<SyncEngineState> CloudKitStore::loadEngineState(const std::filesystem::path& file,
                                                              std::string_view failureFormat,
                                                              bool& unreadable) {
  std::optional<std::string> bytes;
  SavedEngineState saved;
  try {
    bytes = persistence_.fileSystem().readFile(file);
    if (!bytes) {
      logger_.info("No saved engine state on disk");
      return std::nullopt;
    }
    saved = SavedEngineState::decode(*bytes);
  } catch (const std::exception& error) {
    unreadable = true;
    logger_.error(failureFormat, error.what());
    if (bytes) {
      persistence_.setAside(file, logger_);
    }
    return std::nullopt;
  }
  if (saved.localCommit) {
    commits_.noteLocalCommitOnDisk(*saved.localCommit);
  }
  const auto snapshotCommit = commits_.restoredLocalCommit();
  const bool covered =
      recordsCoverTokens_ && saved.localCommit && snapshotCommit && *saved.localCommit <= *snapshotCommit;
  if (!covered && saved.state.hasChangeTokens()) {
    logger_.notice("The records on disk do not cover the saved change tokens; fetching everything again");
    saved.state.forgetChangeTokens();
  }
  return std::move(saved.state);
}

bool CloudKitStore::makeEngines(CloudDatabase& database) {
  bool privateUnreadable = false;
  bool sharedUnreadable = false;
  auto privateState = syncEngine_ ? std::optional(syncEngine_->state())
                                  : loadEngineState(persistence_.syncEngineStateURL(),
                                                    "Saved engine state failed to decode (%@); starting cold",
                                                    privateUnreadable);
  auto sharedState = sharedSyncEngine_
                         ? std::optional(sharedSyncEngine_->state())
                         : loadEngineState(persistence_.sharedSyncEngineStateURL(),
                                           "Saved shared engine state failed to decode (%@); starting cold",
                                           sharedUnreadable);
  const bool restoredState = privateState.has_value() && !syncEngine_;
  std::vector<PendingRecordZoneChange> restored = std::exchange(restoredPendingChanges_, {});
  // Neither list of what waits survived, but records did: what differs from the server's copy goes again.
  const bool journalLost =
      journalUnreadable_ || !persistence_.fileSystem().exists(persistence_.pendingChangesURL());
  if (!privateState && journalLost && restored.empty() && (privateUnreadable || cache_.recordCount() > 0)) {
    restored = rebuildPendingSaves();
  }
  if (!privateState) {
    privateState.emplace();
  }
  privateState->add(restored);

  const auto engine = [&](CloudDatabaseScope scope, std::optional<SyncEngineState> state,
                          std::weak_ptr<SyncEngineDelegate> delegate) {
    return std::make_unique<SyncEngine>(
        SyncEngine::Configuration{.database = database,
                                  .scope = scope,
                                  .state = std::move(state),
                                  .delegate = std::move(delegate),
                                  .automaticallySync = environment_.automaticallySync,
                                  .owner = &environment_.owner});
  };
  delegate_ = std::make_shared<CloudKitSyncDelegate>(eventSink_.reference());
  syncEngine_ = engine(CloudDatabaseScope::privateDatabase, std::move(privateState), delegate_);
  sharedDelegate_ = std::make_shared<SharedSyncEngineDelegate>(eventSink_.reference());
  sharedSyncEngine_ = engine(CloudDatabaseScope::sharedDatabase, std::move(sharedState), sharedDelegate_);
  return restoredState;
}

void CloudKitStore::start() {
  if (syncEngine_ || isStarting_) {
    return;
  }
  isStarting_ = true;
  // Every way out of start(), a throw included, ends the start.
  const std::unique_ptr<bool, void (*)(bool*)> starting(&isStarting_, [](bool* flag) { *flag = false; });
  try {
    accountStatus_ = container().accountStatus();
  } catch (const std::exception& error) {
    logger_.error("accountStatus failed: %@", error.what());
    throw;
  }
  // Without an available account there is nothing to sync with; the host picks the screen that
  // explains the status from accountStatus().
  if (accountStatus_ != CloudAccountStatus::available) {
    throw CloudKitStoreError::noICloudAccount();
  }

  const bool restoredState = makeEngines(container());
  logger_.info("Base copies made for %{public}ld records", std::int64_t(makeStartupBaseCopies()));
  updatePendingWrites();
  logger_.info("CloudKitStore started; accountStatus=%s; restoredState=%{bool}d",
               cloudAccountStatusName(*accountStatus_), restoredState);
  isStarted_ = true;

  // Per-user records (placements, schedules) carry the signed-in user's reference.
  const std::string user = container().fetchUserRecordID().recordName;
  logger_.info("Current user resolved: %{private}s", user);
  if (cache_.currentUserRef() != user) {
    cache_.setCurrentUserRef(user);
  }
  ensureZone();
  checkSchemaVersion();
  drainPendingIntentActions();
  environment_.owner.post([self = self_.reference()] {
    if (auto* store = self.get()) {
      store->fetchChangesNow();
    }
  });
  environment_.owner.post([self = self_.reference()] {
    if (auto* store = self.get()) {
      store->fetchSharedChangesNow();
    }
  });
}

void CloudKitStore::startOffline(const std::exception& startFailure) {
  logger_.error("[Vantrel] CloudKit start failed; %d cached records available, proceeding offline. Error: %@",
                std::int64_t(cache_.recordCount()), startFailure.what());
  startOnCache(startFailure.what());
  // No fetch can happen: the status says so rather than looking healthy.
  ++consecutiveFetchFailures_;
  lastFetch_ =
      WriteOutcome{environment_.clock.now(), std::int64_t(cache_.recordCount()), startFailure.what()};
}

void CloudKitStore::startLocalOnly() {
  logger_.info("Starting on %d cached records without the cloud, as asked",
               std::int64_t(cache_.recordCount()));
  startOnCache("the cloud is not used in this run");
}

void CloudKitStore::startOnCache(const std::string& reason) {
  offlineDatabase_ = std::make_unique<UnreachableCloudDatabase>(reason);
  // Engines made over the real database before it failed keep their state in the new ones.
  makeEngines(*offlineDatabase_);
  if (!isStarted_) {
    logger_.info("Base copies made for %{public}ld records", std::int64_t(makeStartupBaseCopies()));
  }
  updatePendingWrites();
  // The schema was written before when the cache holds its record; writes may then go on.
  schemaMigrationComplete_ = cache_.schemaVersion().has_value();
  isStarted_ = true;
  isStarting_ = false;
  drainPendingIntentActions();
}

bool CloudKitStore::isOffline() const {
  return offlineDatabase_ != nullptr;
}

// A record that waits to be sent has only its cached entity as a possible ancestor when it was never
// confirmed. One that has a base copy keeps it: overwriting it with the unsent edit would make a later
// merge take the user's own changes for the server's and drop them.
std::size_t CloudKitStore::makeStartupBaseCopies() {
  std::size_t made = 0;
  auto& copies = commits_.serverCopies();
  for (const auto& change : syncEngine_->state().pendingRecordZoneChanges()) {
    const auto& name = change.recordID.recordName;
    if (change.kind != PendingRecordZoneChange::Kind::saveRecord) {
      continue;
    }
    if (copies.baseRecord(name) || persistence_.hasBaseRecord(name)) {
      continue;
    }
    if (const auto record = buildRecord(change.recordID)) {
      copies.keepBaseRecord(name, record->wholeRecordData());
      ++made;
    }
  }
  return made;
}

void CloudKitStore::captureCommit(LocalCommit& commit) const {
  if (!syncEngine_ && restoredPendingChanges_.empty()) {
    // Before the engines exist, what waits is whatever the files on disk say; leave them be.
    return;
  }
  PendingChangeJournal journal{.localCommit = commit.number};
  for (const auto& change : changesToKeep()) {
    const auto& name = change.recordID.recordName;
    if (change.kind == PendingRecordZoneChange::Kind::deleteRecord) {
      journal.deletes.push_back(name);
    } else {
      cache_.copyRecord(name, journal.saves);
    }
  }
  commit.journal = std::move(journal);
  if (syncEngine_) {
    // Parked changes are not the engine's any more, but must survive a restart all the same.
    const auto parked = parkedChangeList();
    if (parked.empty()) {
      commit.privateEngineState = syncEngine_->state().serialized();
    } else {
      SyncEngineState kept = syncEngine_->state();
      kept.add(parked);
      commit.privateEngineState = kept.serialized();
    }
  }
  if (sharedSyncEngine_) {
    commit.sharedRecords = sharedRecords_.encodeJSON();
    commit.sharedEngineState = sharedSyncEngine_->state().serialized();
  }
}

void CloudKitStore::ensureZone() {
  try {
    container().fetchRecordZone(CloudDatabaseScope::privateDatabase, zoneID());
    logger_.debug("VantrelZone already exists");
  } catch (const CloudError& error) {
    if (error.code() != CloudErrorCode::zoneNotFound) {
      throw CloudKitStoreError::zoneSetupFailed(error.what());
    }
    try {
      container().saveRecordZone(CloudDatabaseScope::privateDatabase, zoneID());
    } catch (const CloudError& saveError) {
      throw CloudKitStoreError::zoneSetupFailed(saveError.what());
    }
    logger_.info("Created VantrelZone");
  }
}

void CloudKitStore::checkSchemaVersion() {
  try {
    const CloudRecord record = container().fetchRecord(
        CloudDatabaseScope::privateDatabase, CloudRecordID{std::string(schemaVersionRecordName), zoneID()});
    schemaMigrationComplete_ = true;
    keepServerCopy(record);
  } catch (const CloudError& error) {
    if (error.code() != CloudErrorCode::unknownItem) {
      logger_.error("schemaVersion fetch failed: %@", error.what());
    }
  }
}

void CloudKitStore::stop() {
  watching_ = false;
  syncEngine_.reset();
  delegate_.reset();
  sharedSyncEngine_.reset();
  sharedDelegate_.reset();
  persistence_.deleteSyncEngineState();
  commits_.serverCopies().forgetAllSystemFields();
  commits_.flushSnapshotSynchronously();
  isStarted_ = false;
  ++dataVersion_;
}

void CloudKitStore::handleAccountChange(CloudKitAccountChange change) {
  // Nothing local is ever deleted here.
  switch (change) {
  case CloudKitAccountChange::signedIn:
    logger_.info("iCloud signed in; resuming");
    break;
  case CloudKitAccountChange::signedOut:
    logger_.info("iCloud signed-out event received; leaving local state intact");
    break;
  case CloudKitAccountChange::switchAccounts:
    logger_.info(
        "iCloud switch-accounts event received; leaving local state intact (was wiping; that turned out "
        "to be the source of the cross-session data loss)");
    break;
  }
}

void CloudKitStore::fetchChangesNow() {
  if (!syncEngine_) {
    return;
  }
  // A fetch cycle is where storage freed since a quota failure shows; the parked saves go with it, and
  // so do the other changes and records that failed.
  requeueQuotaRetries();
  retryRecordFailures();
  std::optional<std::string> failure;
  try {
    syncEngine_->fetchChanges();
    consecutiveFetchFailures_ = 0;
  } catch (const std::exception& error) {
    logger_.error("fetchChanges failed: %@", error.what());
    ++consecutiveFetchFailures_;
    failure = error.what();
  }
  lastFetch_ = WriteOutcome{environment_.clock.now(), std::int64_t(cache_.recordCount()), failure};
}

void CloudKitStore::fetchSharedChangesNow() {
  logger_.info("fetchSharedChangesNow: begin");
  if (!sharedSyncEngine_) {
    logger_.info("fetchSharedChangesNow: no shared engine");
    return;
  }
  try {
    sharedSyncEngine_->fetchChanges();
  } catch (const std::exception& error) {
    logger_.error("Shared fetchChanges failed: %@", error.what());
  }
  logger_.info("fetchSharedChangesNow: done");
}

bool CloudKitStore::handlePushNotification() {
  logger_.info("Push received; calling engine.fetchChanges()");
  const std::size_t before = cache_.recordCount();
  fetchChangesNow();
  return cache_.recordCount() != before;
}

void CloudKitStore::syncNow() {
  logger_.info("syncNow: fetching private + shared");
  fetchChangesNow();
  fetchSharedChangesNow();
  logger_.info("syncNow: done");
}

void CloudKitStore::watchForChanges(double intervalSeconds) {
  if (watching_) {
    return;
  }
  watching_ = true;
  const auto poll = std::make_shared<std::function<void()>>();
  *poll = [self = self_.reference(), intervalSeconds, poll = std::weak_ptr(poll)] {
    auto* store = self.get();
    if (store == nullptr || !store->watching_) {
      return;
    }
    CloudKitStore& owner = *store;
    try {
      const std::int64_t counter = owner.container().changeCounter();
      if (owner.watchedCounter_ && *owner.watchedCounter_ != counter) {
        owner.handlePushNotification();
      }
      owner.watchedCounter_ = counter;
    } catch (const CloudError& error) {
      owner.logger_.error("Change poll failed: %@", error.what());
    }
    if (const auto next = poll.lock()) {
      owner.environment_.owner.postAfter(intervalSeconds, *next);
    }
  };
  watchPoll_ = poll;
  (*poll)();
}

void CloudKitStore::wipeAllData() {
  try {
    container().deleteRecordZone(CloudDatabaseScope::privateDatabase, zoneID());
  } catch (const CloudError& error) {
    if (error.code() != CloudErrorCode::zoneNotFound) {
      throw;
    }
  }
  logger_.info("VantrelZone deleted from iCloud (manual reset)");
  persistence_.deletePendingChanges();
  persistence_.deleteCacheSnapshot();
  persistence_.deleteSharedRecordsSnapshot();
  persistence_.deleteSharedSyncEngineState();
  persistence_.deleteSyncEngineState();
  persistence_.wipeAllSystemFields();
  commits_.serverCopies().forgetAllSystemFields();
  cache_.removeAll();
  sharedRecords_.removeAll();
  parkedChanges_.clear();
  pendingQuotaRetries_.clear();
  recordFailures_.clear();
  lastWrite_.reset();
  lastFetch_.reset();
  pendingWriteCount_ = 0;
  pendingSince_.reset();
  ++dataVersion_;
  ensureZone();
  logger_.info("Reset complete; VantrelZone recreated, ready for new data");
}

} // namespace vantrel
