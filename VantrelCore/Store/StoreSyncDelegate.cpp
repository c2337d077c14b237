#include "VantrelCore/Store/StoreSyncDelegate.hpp"

#include "VantrelCore/Sync/SyncEngine.hpp"

namespace vantrel {

void StoreSyncDelegate::handleEvent(const SyncEngineEvent& event, SyncEngine&) {
  auto* sink = sink_.get();
  if (sink == nullptr) {
    return;
  }
  std::visit(
      [&]<class Event>(const Event& happened) {
        if constexpr (std::is_same_v<Event, StateUpdateEvent>) {
          sink->stateUpdated(scope_);
        } else if constexpr (std::is_same_v<Event, AccountChangeEvent>) {
          sink->accountChanged(scope_, happened.kind);
        } else if constexpr (std::is_same_v<Event, FetchedDatabaseChangesEvent>) {
          sink->databaseChangesFetched(scope_, happened);
        } else if constexpr (std::is_same_v<Event, FetchedRecordZoneChangesEvent>) {
          sink->recordChangesFetched(scope_, happened);
        } else if constexpr (std::is_same_v<Event, SentRecordZoneChangesEvent>) {
          sink->recordChangesSent(scope_, happened);
        } else if constexpr (std::is_same_v<Event, WillFetchChangesEvent>) {
          sink->fetchingChanged(scope_, true);
        } else if constexpr (std::is_same_v<Event, DidFetchChangesEvent>) {
          sink->fetchingChanged(scope_, false);
        } else if constexpr (!std::is_same_v<Event, WillFetchRecordZoneChangesEvent> &&
                             !std::is_same_v<Event, DidFetchRecordZoneChangesEvent> &&
                             !std::is_same_v<Event, WillSendChangesEvent> &&
                             !std::is_same_v<Event, DidSendChangesEvent>) {
          sink->unhandledEvent(scope_);
        }
      },
      event);
}

std::optional<RecordZoneChangeBatch> StoreSyncDelegate::nextRecordZoneChangeBatch(const SendChangesContext&,
                                                                                  SyncEngine& engine) {
  auto* sink = sink_.get();
  if (sink == nullptr) {
    return std::nullopt;
  }
  return RecordZoneChangeBatch::make(
      engine.state().pendingRecordZoneChanges(),
      [&](const CloudRecordID& recordID) { return sink->recordToSend(scope_, recordID); });
}

} // namespace vantrel
