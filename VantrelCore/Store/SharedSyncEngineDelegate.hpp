#pragma once

#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/WeakReference.hpp"
#include "VantrelCore/Sync/SyncEngineDelegate.hpp"

#include <memory>

namespace vantrel {

class CloudKitStore;

/// The shared engine's delegate: takes the projects others shared with this user into the store's
/// shared records and keeps the engine's state. Sending changes to shared projects comes with sharing;
/// until then it offers nothing to send.
class SharedSyncEngineDelegate : public SyncEngineDelegate {
public:
  explicit SharedSyncEngineDelegate(WeakReference<CloudKitStore> store);

  void handleEvent(const SyncEngineEvent& event, SyncEngine& engine) override;
  std::optional<RecordZoneChangeBatch> nextRecordZoneChangeBatch(const SendChangesContext& context,
                                                                 SyncEngine& engine) override;

private:
  void ingest(CloudKitStore& store, const CloudRecord& record);

  WeakReference<CloudKitStore> store_;
  Logger logger_;
};

} // namespace vantrel
