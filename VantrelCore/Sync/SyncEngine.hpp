#pragma once

#include "VantrelCore/Platform/Executor.hpp"
#include "VantrelCore/Platform/WeakReference.hpp"
#include "VantrelCore/Sync/CloudDatabase.hpp"
#include "VantrelCore/Sync/SyncEngineDelegate.hpp"
#include "VantrelCore/Sync/SyncEngineState.hpp"

#include <deque>
#include <memory>
#include <optional>
#include <span>

namespace vantrel {

/// Keeps one database scope of the cloud in step with local data: it remembers what waits to be sent and
/// where the change feeds stand, sends pending changes in batches the delegate builds, fetches what
/// changed elsewhere, and reports everything to the delegate as events.
///
/// Sends and fetches are synchronous calls on the owner thread; each returns once the delegate has
/// handled every event it caused. A change that failed for a passing reason (the network, a busy zone,
/// a rate limit, a lost response) stays pending and is sent again later; any other failure takes it out
/// of the state, and the delegate decides whether to add it again.
class SyncEngine {
public:
  struct Configuration {
    CloudDatabase& database;
    CloudDatabaseScope scope = CloudDatabaseScope::privateDatabase;
    /// The state of an earlier run; none starts cold (a full fetch follows).
    std::optional<SyncEngineState> state{};
    /// Held weakly: an engine whose delegate is gone does nothing for it.
    std::weak_ptr<SyncEngineDelegate> delegate{};
    /// Sends by itself after changes are added, and retries passing failures after a delay, through
    /// `owner`, which it then needs.
    bool automaticallySync = false;
    Executor* owner = nullptr;
  };

  explicit SyncEngine(Configuration configuration);
  ~SyncEngine();
  SyncEngine(const SyncEngine&) = delete;
  SyncEngine& operator=(const SyncEngine&) = delete;

  const SyncEngineState& state() const { return state_; }
  CloudDatabase& database() const { return database_; }
  CloudDatabaseScope scope() const { return scope_; }

  void add(std::span<const PendingRecordZoneChange> changes);
  void remove(std::span<const PendingRecordZoneChange> changes);
  void add(std::span<const PendingDatabaseChange> changes);
  void remove(std::span<const PendingDatabaseChange> changes);

  /// Fetches every change since the last fetch. Throws CloudError when the fetch as a whole failed
  /// (after the delegate heard of it); what was fetched before the failure stays fetched. A switch to
  /// another account is reported and ends the call; the next one fetches that account's data. A record
  /// the database cannot read fails nothing: it arrives among the event's `unreadableRecords`.
  void fetchChanges();
  /// Sends the pending changes; failures of single changes go to the delegate. Throws CloudError only
  /// when the account cannot be read or none is signed in.
  void sendChanges(SendChangesContext::Reason reason = SendChangesContext::Reason::manual);

  /// Whether a failure with this code is passing: the change stays pending and is tried again.
  static bool isRetryable(CloudErrorCode code);

private:
  void deliver(SyncEngineEvent event);
  void deliverStateUpdate();
  /// Compares the account with the one in the state and tells the delegate of a change. False after a
  /// switch to another account, which ends the call; throws notAuthenticated when none is signed in.
  bool checkAccount();
  void fetchDatabaseChanges();
  void fetchZoneChanges(const CloudRecordZoneID& zoneID);
  /// False when a passing failure ended the send.
  bool sendDatabaseChanges(const SendChangesContext& context);
  bool sendRecordZoneChanges(const RecordZoneChangeBatch& batch);
  void scheduleSend();
  void scheduleRetry(const CloudError& error, bool fetch);

  CloudDatabase& database_;
  CloudDatabaseScope scope_;
  SyncEngineState state_;
  std::weak_ptr<SyncEngineDelegate> delegate_;
  bool automaticallySync_;
  Executor* owner_;
  std::deque<SyncEngineEvent> events_;
  bool delivering_ = false;
  bool sendScheduled_ = false;
  double retryDelay_ = 0;
  /// Scheduled jobs hold a weak reference, so one that outlives the engine does nothing.
  ReferenceAnchor<SyncEngine> self_{*this};
};

} // namespace vantrel
