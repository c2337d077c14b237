#include "VantrelCore/Store/CloudKitSyncDelegate.hpp"

#include <atomic>

namespace vantrel {
namespace {

std::atomic<std::int64_t> instances = 0;

} // namespace

CloudKitSyncDelegate::CloudKitSyncDelegate(WeakReference<SyncEventHandler> sink)
    : StoreSyncDelegate(std::move(sink), CloudDatabaseScope::privateDatabase),
      logger_("com.vantrel.vantrel", "CloudKit"), instance_(++instances) {
  logger_.info("CloudKitSyncDelegate INIT %{public}ld", instance_);
}

CloudKitSyncDelegate::~CloudKitSyncDelegate() {
  logger_.info("CloudKitSyncDelegate DEINIT %{public}ld", instance_);
}

} // namespace vantrel
