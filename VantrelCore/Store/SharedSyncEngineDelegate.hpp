#pragma once

#include "VantrelCore/Store/StoreSyncDelegate.hpp"

namespace vantrel {

/// The shared database's delegate: the projects others shared with this user reach the store's shared
/// records through it.
class SharedSyncEngineDelegate final : public StoreSyncDelegate {
public:
  explicit SharedSyncEngineDelegate(WeakReference<SyncEventHandler> sink)
      : StoreSyncDelegate(std::move(sink), CloudDatabaseScope::sharedDatabase) {}
};

} // namespace vantrel
