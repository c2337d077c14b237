#pragma once

#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Store/StoreSyncDelegate.hpp"

#include <cstdint>

namespace vantrel {

/// The private database's delegate. Its making and ending are logged with a number per instance, so a
/// log shows whether an engine was made twice.
class CloudKitSyncDelegate final : public StoreSyncDelegate {
public:
  explicit CloudKitSyncDelegate(WeakReference<SyncEventHandler> sink);
  ~CloudKitSyncDelegate() override;
  CloudKitSyncDelegate(const CloudKitSyncDelegate&) = delete;
  CloudKitSyncDelegate& operator=(const CloudKitSyncDelegate&) = delete;

private:
  Logger logger_;
  std::int64_t instance_;
};

} // namespace vantrel
