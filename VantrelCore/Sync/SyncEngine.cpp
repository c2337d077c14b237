#include "VantrelCore/Sync/SyncEngine.hpp"

#include "VantrelCore/Platform/ProgramError.hpp"

#include <algorithm>
#include <map>
#include <utility>

namespace vantrel {
namespace {

constexpr std::size_t zoneChangesPerPage = 400;
constexpr double firstRetryDelay = 2;
constexpr double longestRetryDelay = 300;

} // namespace

SyncEngine::SyncEngine(Configuration configuration)
    : database_(configuration.database), scope_(configuration.scope),
      state_(std::move(configuration.state).value_or(SyncEngineState{})),
      delegate_(std::move(configuration.delegate)), automaticallySync_(configuration.automaticallySync),
      owner_(configuration.owner) {
  if (automaticallySync_ && owner_ == nullptr) {
    programError("SyncEngine: automatic sync needs an owner executor");
  }
}

SyncEngine::~SyncEngine() = default;

// serverResponseLost and batchRequestFailed are passing too: the first may have been applied, and sending
// it again meets our own save as a conflict that merges cleanly; the second was held back for another
// item's sake and did nothing wrong.
bool SyncEngine::isRetryable(CloudErrorCode code) {
  switch (code) {
  case CloudErrorCode::networkUnavailable:
  case CloudErrorCode::networkFailure:
  case CloudErrorCode::serviceUnavailable:
  case CloudErrorCode::requestRateLimited:
  case CloudErrorCode::notAuthenticated:
  case CloudErrorCode::zoneBusy:
  case CloudErrorCode::accountTemporarilyUnavailable:
  case CloudErrorCode::operationCancelled:
  case CloudErrorCode::serverResponseLost:
  case CloudErrorCode::batchRequestFailed:
    return true;
  default:
    return false;
  }
}

void SyncEngine::add(std::span<const PendingRecordZoneChange> changes) {
  state_.add(changes);
  deliverStateUpdate();
  scheduleSend();
}

void SyncEngine::remove(std::span<const PendingRecordZoneChange> changes) {
  state_.remove(changes);
  deliverStateUpdate();
}

void SyncEngine::add(std::span<const PendingDatabaseChange> changes) {
  state_.add(changes);
  deliverStateUpdate();
  scheduleSend();
}

void SyncEngine::remove(std::span<const PendingDatabaseChange> changes) {
  state_.remove(changes);
  deliverStateUpdate();
}

// Events raised while the delegate handles one (it may add changes) wait for it to return.
void SyncEngine::deliver(SyncEngineEvent event) {
  events_.push_back(std::move(event));
  if (delivering_) {
    return;
  }
  delivering_ = true;
  while (!events_.empty()) {
    SyncEngineEvent next = std::move(events_.front());
    events_.pop_front();
    if (const auto delegate = delegate_.lock()) {
      try {
        delegate->handleEvent(next, *this);
      } catch (...) {
        delivering_ = false;
        events_.clear();
        throw;
      }
    }
  }
  delivering_ = false;
}

void SyncEngine::deliverStateUpdate() {
  deliver(StateUpdateEvent{state_.serialized()});
}

bool SyncEngine::checkAccount() {
  const auto previous = state_.userRecordName();
  std::optional<std::string> current;
  if (database_.accountStatus() == CloudAccountStatus::available) {
    current = database_.fetchUserRecordID().recordName;
  }
  if (current == previous) {
    if (!current) {
      throw CloudError(CloudErrorCode::notAuthenticated);
    }
    return true;
  }
  AccountChangeEvent change{.previousUser = previous, .currentUser = current};
  if (!previous) {
    change.kind = AccountChangeEvent::Kind::signIn;
    state_.setUserRecordName(current);
    deliver(std::move(change));
    deliverStateUpdate();
    return true;
  }
  // Another account's tokens and pending changes mean nothing here, so the state starts over. The
  // delegate hears of it before anything else happens: this call goes no further, and the new state is
  // kept with the next real change, so the event itself leaves every file as it was.
  state_.reset();
  state_.setUserRecordName(current);
  change.kind = current ? AccountChangeEvent::Kind::switchAccounts : AccountChangeEvent::Kind::signOut;
  deliver(std::move(change));
  if (!current) {
    throw CloudError(CloudErrorCode::notAuthenticated);
  }
  return false;
}

void SyncEngine::fetchChanges() {
  if (!checkAccount()) {
    return;
  }
  deliver(WillFetchChangesEvent{});
  std::optional<CloudError> failure;
  try {
    fetchDatabaseChanges();
  } catch (const CloudError& error) {
    failure = error;
  }
  deliver(DidFetchChangesEvent{});
  if (failure) {
    scheduleRetry(*failure, true);
    throw *failure;
  }
  retryDelay_ = 0;
}

// The database token is kept only after every zone it names was fetched: a fetch cut short lists the
// same zones again next time, so no zone's changes are skipped.
void SyncEngine::fetchDatabaseChanges() {
  FetchedDatabaseChangesEvent event;
  std::optional<CloudChangeToken> token = state_.databaseChangeToken();
  while (true) {
    CloudDatabaseChanges changes;
    try {
      changes = database_.fetchDatabaseChanges(scope_, token);
    } catch (const CloudError& error) {
      if (error.code() != CloudErrorCode::changeTokenExpired || !token) {
        throw;
      }
      token.reset();
      continue;
    }
    for (auto& zoneID : changes.modifiedZoneIDs) {
      if (std::ranges::find(event.modifications, zoneID) == event.modifications.end()) {
        event.modifications.push_back(zoneID);
      }
    }
    for (auto& deletion : changes.deletedZones) {
      event.deletions.push_back(deletion);
    }
    token = changes.changeToken;
    if (!changes.moreComing) {
      break;
    }
  }
  for (const auto& deletion : event.deletions) {
    state_.setZoneChangeToken(deletion.zoneID, std::nullopt);
  }
  const std::vector<CloudRecordZoneID> zones = event.modifications;
  if (!event.modifications.empty() || !event.deletions.empty()) {
    deliver(std::move(event));
  }
  for (const auto& zoneID : zones) {
    fetchZoneChanges(zoneID);
  }
  state_.setDatabaseChangeToken(std::move(token));
  deliverStateUpdate();
}

void SyncEngine::fetchZoneChanges(const CloudRecordZoneID& zoneID) {
  deliver(WillFetchRecordZoneChangesEvent{zoneID});
  std::optional<CloudError> failure;
  try {
    bool refetched = false;
    while (true) {
      CloudZoneChanges page;
      try {
        page = database_.fetchZoneChanges(scope_, zoneID, state_.zoneChangeToken(zoneID), zoneChangesPerPage);
      } catch (const CloudError& error) {
        // The server forgot where we stood: fetch the whole zone again, once.
        if (error.code() != CloudErrorCode::changeTokenExpired || refetched) {
          throw;
        }
        refetched = true;
        state_.setZoneChangeToken(zoneID, std::nullopt);
        deliverStateUpdate();
        continue;
      }
      // A page of unreadable records alone is delivered too: the delegate must hear of them, since the
      // token that follows moves past them.
      if (!page.modifiedRecords.empty() || !page.deletedRecords.empty() || !page.unreadableRecords.empty()) {
        deliver(FetchedRecordZoneChangesEvent{std::move(page.modifiedRecords), std::move(page.deletedRecords),
                                              std::move(page.unreadableRecords)});
      }
      state_.setZoneChangeToken(zoneID, page.changeToken);
      deliverStateUpdate();
      if (!page.moreComing) {
        break;
      }
    }
  } catch (const CloudError& error) {
    failure = error;
  }
  deliver(DidFetchRecordZoneChangesEvent{zoneID, failure});
  if (failure && isRetryable(failure->code())) {
    throw *failure;
  }
}

void SyncEngine::sendChanges(SendChangesContext::Reason reason) {
  sendScheduled_ = false;
  try {
    // The user's record ID is read when the state knows no account yet or the account went; a switch to
    // another account is noticed by the next fetch.
    if (!state_.userRecordName() || database_.accountStatus() != CloudAccountStatus::available) {
      if (!checkAccount()) {
        return;
      }
    }
  } catch (const CloudError& error) {
    scheduleRetry(error, false);
    throw;
  }
  if (state_.pendingDatabaseChanges().empty() && state_.pendingRecordZoneChanges().empty()) {
    return;
  }
  const SendChangesContext context{reason};
  deliver(WillSendChangesEvent{context});
  // A record may go twice in one send: once, and again after the delegate merged a conflict. A delegate
  // that keeps adding back what keeps failing waits for the next send instead of spinning here.
  std::map<CloudRecordID, int> sends;
  const auto sentTwice = [&](const RecordZoneChangeBatch& batch) {
    const auto twice = [&](const CloudRecordID& recordID) { return sends[recordID] >= 2; };
    return std::ranges::all_of(batch.recordsToSave,
                               [&](const CloudRecord& record) { return twice(record.recordID()); }) &&
           std::ranges::all_of(batch.recordIDsToDelete, twice);
  };
  bool completed = true;
  const auto delegate = delegate_.lock();
  while (completed && delegate) {
    // Zones first: a delegate that lost its zone adds it back before it adds the records again.
    completed = sendDatabaseChanges(context);
    if (!completed) {
      break;
    }
    const auto batch = delegate->nextRecordZoneChangeBatch(context, *this);
    if (!batch || (batch->skippedSaves.empty() && sentTwice(*batch))) {
      break;
    }
    for (const auto& record : batch->recordsToSave) {
      ++sends[record.recordID()];
    }
    for (const auto& recordID : batch->recordIDsToDelete) {
      ++sends[recordID];
    }
    completed = sendRecordZoneChanges(*batch);
  }
  deliver(DidSendChangesEvent{context});
  if (completed) {
    retryDelay_ = 0;
  }
}

bool SyncEngine::sendDatabaseChanges(const SendChangesContext&) {
  if (state_.pendingDatabaseChanges().empty()) {
    return true;
  }
  SentDatabaseChangesEvent event;
  std::vector<PendingDatabaseChange> done;
  std::optional<CloudError> passing;
  for (const auto& change : std::vector(state_.pendingDatabaseChanges())) {
    const bool save = change.kind == PendingDatabaseChange::Kind::saveZone;
    try {
      if (save) {
        database_.saveRecordZone(scope_, change.zoneID);
        event.savedZones.push_back(change.zoneID);
      } else {
        database_.deleteRecordZone(scope_, change.zoneID);
        event.deletedZoneIDs.push_back(change.zoneID);
      }
      done.push_back(change);
    } catch (const CloudError& error) {
      (save ? event.failedZoneSaves : event.failedZoneDeletes).emplace_back(change.zoneID, error);
      if (isRetryable(error.code())) {
        passing = error;
        break;
      }
      done.push_back(change);
    }
  }
  state_.remove(std::span<const PendingDatabaseChange>(done));
  deliverStateUpdate();
  deliver(std::move(event));
  if (passing) {
    scheduleRetry(*passing, false);
  }
  return !passing;
}

bool SyncEngine::sendRecordZoneChanges(const RecordZoneChangeBatch& batch) {
  std::vector<PendingRecordZoneChange> done;
  for (const auto& recordID : batch.skippedSaves) {
    done.push_back(PendingRecordZoneChange::save(recordID));
  }
  // What was sent is taken out of the state only if it was not added again meanwhile.
  std::map<CloudRecordID, std::uint64_t> generations;
  for (const auto& record : batch.recordsToSave) {
    generations[record.recordID()] = state_.changeGeneration(record.recordID());
  }
  for (const auto& recordID : batch.recordIDsToDelete) {
    generations[recordID] = state_.changeGeneration(recordID);
  }
  CloudModifyRequest request{.recordsToSave = batch.recordsToSave,
                             .recordIDsToDelete = batch.recordIDsToDelete,
                             .savePolicy = CloudSavePolicy::ifServerRecordUnchanged,
                             .atomically = batch.atomicByZone};
  CloudModifyResult result;
  if (!request.recordsToSave.empty() || !request.recordIDsToDelete.empty()) {
    try {
      result = database_.modifyRecords(scope_, request);
    } catch (const CloudError& error) {
      for (const auto& record : request.recordsToSave) {
        result.saveResults.emplace_back(record.recordID(), error);
      }
      for (const auto& recordID : request.recordIDsToDelete) {
        result.deleteResults.emplace_back(recordID, error);
      }
    }
  }

  SentRecordZoneChangesEvent event;
  std::optional<CloudError> passing;
  const auto failed = [&](const CloudError& error, const PendingRecordZoneChange& change) {
    if (!isRetryable(error.code())) {
      done.push_back(change);
    } else if (error.code() != CloudErrorCode::batchRequestFailed) {
      passing = error;
    }
  };
  for (std::size_t index = 0; index < result.saveResults.size(); ++index) {
    auto& [recordID, outcome] = result.saveResults[index];
    if (auto* record = std::get_if<CloudRecord>(&outcome)) {
      done.push_back(PendingRecordZoneChange::save(recordID));
      event.savedRecords.push_back(std::move(*record));
    } else {
      const auto& error = std::get<CloudError>(outcome);
      failed(error, PendingRecordZoneChange::save(recordID));
      event.failedRecordSaves.push_back(FailedRecordSave{request.recordsToSave[index], error});
    }
  }
  for (auto& [recordID, error] : result.deleteResults) {
    if (!error) {
      done.push_back(PendingRecordZoneChange::remove(recordID));
      event.deletedRecordIDs.push_back(recordID);
    } else {
      failed(*error, PendingRecordZoneChange::remove(recordID));
      event.failedRecordDeletes.emplace_back(recordID, *error);
    }
  }
  std::erase_if(done, [&](const PendingRecordZoneChange& change) {
    const auto sent = generations.find(change.recordID);
    return sent != generations.end() && sent->second != state_.changeGeneration(change.recordID);
  });
  state_.remove(std::span<const PendingRecordZoneChange>(done));
  deliverStateUpdate();
  deliver(std::move(event));
  if (passing) {
    scheduleRetry(*passing, false);
  }
  return !passing;
}

void SyncEngine::scheduleSend() {
  if (!automaticallySync_ || sendScheduled_) {
    return;
  }
  sendScheduled_ = true;
  owner_->post([self = self_.reference()] {
    if (auto* engine = self.get(); engine != nullptr && engine->sendScheduled_) {
      try {
        engine->sendChanges(SendChangesContext::Reason::scheduled);
      } catch (const CloudError&) {
        // Without an account there is nothing to send to; the next account change brings a fetch.
      }
    }
  });
}

void SyncEngine::scheduleRetry(const CloudError& error, bool fetch) {
  if (!automaticallySync_ || !isRetryable(error.code())) {
    return;
  }
  retryDelay_ = retryDelay_ == 0 ? firstRetryDelay : std::min(retryDelay_ * 2, longestRetryDelay);
  const double delay = error.retryAfterSeconds().value_or(retryDelay_);
  owner_->postAfter(delay, [self = self_.reference(), fetch] {
    auto* engine = self.get();
    if (engine == nullptr) {
      return;
    }
    try {
      if (fetch) {
        engine->fetchChanges();
      } else {
        engine->sendChanges(SendChangesContext::Reason::scheduled);
      }
    } catch (const CloudError&) {
      // A failed retry schedules the next one itself.
    }
  });
}

} // namespace vantrel
