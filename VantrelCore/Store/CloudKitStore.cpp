#include "VantrelCore/Store/CloudKitStore.hpp"

#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/CloudKitSyncDelegate.hpp"
#include "VantrelCore/Store/SharedSyncEngineDelegate.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"

#include <utility>

namespace vantrel {

CloudKitStore::CloudKitStore(CloudKitPersistence persistence, Environment environment)
    : persistence_(std::move(persistence)), environment_(std::move(environment)),
      logger_("com.vantrel.vantrel", "CloudKit"),
      snapshots_(
          cache_, persistence_, environment_.owner, environment_.snapshotQueue, environment_.clock,
          [this] { ++dataVersion_; }, environment_.widgets),
      self_(std::make_shared<CloudKitStore*>(this)) {
  snapshots_.restore();
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

std::optional<SyncEngineState> CloudKitStore::loadEngineState(std::optional<std::string> bytes,
                                                              std::string_view failureFormat) {
  if (!bytes) {
    logger_.info("No saved engine state on disk");
    return std::nullopt;
  }
  try {
    return SyncEngineState::deserialize(*bytes);
  } catch (const DecodingError& error) {
    logger_.error(failureFormat, error.what());
    return std::nullopt;
  }
}

void CloudKitStore::start() {
  if (syncEngine_ || isStarting_) {
    return;
  }
  isStarting_ = true;
  try {
    accountStatus_ = container().accountStatus();
  } catch (const std::exception& error) {
    logger_.error("accountStatus failed: %@", error.what());
    isStarting_ = false;
    throw;
  }
  // Without an available account there is nothing to sync with; the host picks the screen that
  // explains the status from accountStatus().
  if (accountStatus_ != CloudAccountStatus::available) {
    isStarting_ = false;
    throw CloudKitStoreError::noICloudAccount();
  }

  auto privateState = loadEngineState(persistence_.readSyncEngineState(),
                                      "Saved engine state failed to decode (%@); starting cold");
  auto sharedState = loadEngineState(persistence_.readSharedSyncEngineState(),
                                     "Saved shared engine state failed to decode (%@); starting cold");
  const bool restoredState = privateState.has_value();

  delegate_ = std::make_shared<CloudKitSyncDelegate>(self_);
  syncEngine_ = std::make_unique<SyncEngine>(
      SyncEngine::Configuration{.database = container(),
                                .scope = CloudDatabaseScope::privateDatabase,
                                .state = std::move(privateState),
                                .delegate = delegate_,
                                .automaticallySync = environment_.automaticallySync,
                                .owner = &environment_.owner});
  sharedDelegate_ = std::make_shared<SharedSyncEngineDelegate>(self_);
  sharedSyncEngine_ = std::make_unique<SyncEngine>(
      SyncEngine::Configuration{.database = container(),
                                .scope = CloudDatabaseScope::sharedDatabase,
                                .state = std::move(sharedState),
                                .delegate = sharedDelegate_,
                                .automaticallySync = environment_.automaticallySync,
                                .owner = &environment_.owner});

  logger_.info("Base copies made for %{public}ld records", std::int64_t(makeStartupBaseCopies()));
  updatePendingWrites();
  logger_.info("CloudKitStore started; accountStatus=%s; restoredState=%{bool}d",
               cloudAccountStatusName(*accountStatus_), restoredState);
  isStarted_ = true;
  isStarting_ = false;

  // Per-user records (placements, schedules) carry the signed-in user's reference.
  const std::string user = container().fetchUserRecordID().recordName;
  logger_.info("Current user resolved: %{private}s", user);
  if (cache_.currentUserRef() != user) {
    cache_.setCurrentUserRef(user);
  }
  ensureZone();
  checkSchemaVersion();
  drainPendingIntentActions();
  environment_.owner.post([self = std::weak_ptr(self_)] {
    if (const auto store = self.lock()) {
      (*store)->fetchChangesNow();
    }
  });
  environment_.owner.post([self = std::weak_ptr(self_)] {
    if (const auto store = self.lock()) {
      (*store)->fetchSharedChangesNow();
    }
  });
}

// A record that waits to be sent has only its cached entity as a possible ancestor when it was never
// confirmed. One that has a base copy keeps it: overwriting it with the unsent edit would make a later
// merge take the user's own changes for the server's and drop them.
std::size_t CloudKitStore::makeStartupBaseCopies() {
  std::size_t made = 0;
  for (const auto& change : syncEngine_->state().pendingRecordZoneChanges()) {
    if (change.kind != PendingRecordZoneChange::Kind::saveRecord ||
        persistence_.hasBaseRecord(change.recordID.recordName)) {
      continue;
    }
    if (const auto record = buildRecord(change.recordID)) {
      persistence_.writeBaseRecord(record->wholeRecordData(), change.recordID.recordName);
      ++made;
    }
  }
  return made;
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
  persistence_.wipeAllSystemFields();
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
  // A fetch cycle is where storage freed since a quota failure shows; the parked saves go with it.
  requeueQuotaRetries();
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
  *poll = [self = std::weak_ptr(self_), intervalSeconds, poll = std::weak_ptr(poll)] {
    const auto store = self.lock();
    if (!store || !(*store)->watching_) {
      return;
    }
    CloudKitStore& owner = **store;
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
  persistence_.deleteCacheSnapshot();
  persistence_.deleteSharedRecordsSnapshot();
  persistence_.deleteSharedSyncEngineState();
  persistence_.deleteSyncEngineState();
  persistence_.wipeAllSystemFields();
  cache_.removeAll();
  sharedRecords_.removeAll();
  lastWrite_.reset();
  lastFetch_.reset();
  pendingWriteCount_ = 0;
  pendingSince_.reset();
  ++dataVersion_;
  ensureZone();
  logger_.info("Reset complete; VantrelZone recreated, ready for new data");
}

} // namespace vantrel
