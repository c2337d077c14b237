#pragma once

#include "VantrelCore/Platform/WeakReference.hpp"
#include "VantrelCore/Store/SyncEventHandler.hpp"
#include "VantrelCore/Sync/SyncEngineDelegate.hpp"

namespace vantrel {

/// Hands one database's engine events to the store's SyncEventHandler, and builds the engine's batches
/// from the records the handler gives. Holds the handler weakly; once it is gone every call does nothing.
class StoreSyncDelegate : public SyncEngineDelegate {
public:
  StoreSyncDelegate(WeakReference<SyncEventHandler> sink, CloudDatabaseScope scope)
      : sink_(std::move(sink)), scope_(scope) {}

  void handleEvent(const SyncEngineEvent& event, SyncEngine& engine) final;
  std::optional<RecordZoneChangeBatch> nextRecordZoneChangeBatch(const SendChangesContext& context,
                                                                 SyncEngine& engine) final;

private:
  WeakReference<SyncEventHandler> sink_;
  CloudDatabaseScope scope_;
};

} // namespace vantrel
