#pragma once

#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/WeakReference.hpp"
#include "VantrelCore/Sync/SyncEngineDelegate.hpp"

#include <cstdint>
#include <memory>

namespace vantrel {

class CloudKitStore;

/// The private engine's delegate: turns its events into calls on the store and builds its batches from
/// the store's records. Holds the store weakly; once the store is gone it does nothing.
class CloudKitSyncDelegate : public SyncEngineDelegate {
public:
  explicit CloudKitSyncDelegate(WeakReference<CloudKitStore> store);
  ~CloudKitSyncDelegate() override;
  CloudKitSyncDelegate(const CloudKitSyncDelegate&) = delete;
  CloudKitSyncDelegate& operator=(const CloudKitSyncDelegate&) = delete;

  void handleEvent(const SyncEngineEvent& event, SyncEngine& engine) override;
  std::optional<RecordZoneChangeBatch> nextRecordZoneChangeBatch(const SendChangesContext& context,
                                                                 SyncEngine& engine) override;

private:
  WeakReference<CloudKitStore> store_;
  Logger logger_;
  std::int64_t instance_;
};

} // namespace vantrel
