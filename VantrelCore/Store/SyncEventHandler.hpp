#pragma once

#include "VantrelCore/Sync/CloudDatabase.hpp"
#include "VantrelCore/Sync/SyncEngineEvent.hpp"

#include <optional>

namespace vantrel {

/// What the store does with its engines' events, for either database: the one door the sync delegates
/// have into the store. The begin and end of a send carry nothing the store keeps, so they do not come
/// through.
class SyncEventHandler {
public:
  virtual ~SyncEventHandler() = default;

  virtual void stateUpdated(CloudDatabaseScope scope) = 0;
  virtual void accountChanged(CloudDatabaseScope scope, AccountChangeEvent::Kind kind) = 0;
  virtual void databaseChangesFetched(CloudDatabaseScope scope, const FetchedDatabaseChangesEvent& event) = 0;
  virtual void recordChangesFetched(CloudDatabaseScope scope, const FetchedRecordZoneChangesEvent& event) = 0;
  virtual void recordChangesSent(CloudDatabaseScope scope, const SentRecordZoneChangesEvent& event) = 0;
  /// A fetch of the whole database began or ended.
  virtual void fetchingChanged(CloudDatabaseScope scope, bool fetching) = 0;
  /// An event of a kind the store has no use for.
  virtual void unhandledEvent(CloudDatabaseScope scope) = 0;
  /// The record to send for a pending save; none drops the change.
  virtual std::optional<CloudRecord> recordToSend(CloudDatabaseScope scope,
                                                  const CloudRecordID& recordID) = 0;
};

} // namespace vantrel
