#include "VantrelCore/Store/CacheSnapshotCoordinator.hpp"

#include <atomic>
#include <exception>
#include <mutex>
#include <utility>

namespace vantrel {

/// What a queued write needs, shared with the jobs so that it outlives the coordinator if it must.
struct CacheSnapshotCoordinator::Writer {
  Writer(const CloudKitPersistence& files, const Clock& now, Logger log, WidgetCenter* widgetCenter)
      : persistence(files), clock(now), logger(std::move(log)), widgets(widgetCenter) {}

  CloudKitPersistence persistence;
  const Clock& clock;
  Logger logger;
  WidgetCenter* widgets;
  std::atomic<std::uint64_t> latestToken = 0;
  std::mutex mutex{};
  std::uint64_t writtenToken = 0;
  std::optional<SnapshotStatus> status{};

  void write(std::uint64_t token, const CloudKitCacheSnapshot& snapshot) {
    const std::lock_guard lock(mutex);
    if (token < latestToken.load() || token <= writtenToken) {
      return;
    }
    writtenToken = token;
    SnapshotStatus outcome{.when = clock.now()};
    try {
      const std::string text = snapshot.encodeJSON();
      persistence.writeCacheSnapshot(text);
      outcome.fileSize = std::int64_t(text.size());
      // The widget reads this file; without a reload it would show the old one until its next entry.
      if (widgets) {
        widgets->reloadAllTimelines();
      }
    } catch (const std::exception& error) {
      outcome.errorDescription = error.what();
      logger.error("Failed to write cache snapshot: %@", error.what());
    }
    status = std::move(outcome);
  }
};

CacheSnapshotCoordinator::CacheSnapshotCoordinator(CloudKitCache& cache,
                                                   const CloudKitPersistence& persistence, Executor& owner,
                                                   Executor& writeQueue, const Clock& clock,
                                                   std::function<void()> onMutation, WidgetCenter* widgets)
    : cache_(cache), persistence_(persistence), owner_(owner), writeQueue_(writeQueue), clock_(clock),
      logger_("com.vantrel.vantrel", "CloudKitStore"),
      writer_(std::make_shared<Writer>(persistence, clock, logger_, widgets)),
      self_(std::make_shared<CacheSnapshotCoordinator*>(this)) {
  cache_.setOnMutation([this, onMutation = std::move(onMutation)] {
    if (onMutation) {
      onMutation();
    }
    if (!restoring_) {
      scheduleWrite();
    }
  });
}

CacheSnapshotCoordinator::~CacheSnapshotCoordinator() {
  cache_.setOnMutation(nullptr);
}

const SnapshotStatus& CacheSnapshotCoordinator::restore() {
  SnapshotStatus status{.when = clock_.now(), .recordsLoaded = 0};
  try {
    const std::optional<std::string> bytes = persistence_.readCacheSnapshot();
    if (!bytes) {
      logger_.info("No snapshot file on disk (fresh install or first run with this build)");
    } else {
      status.fileSize = std::int64_t(bytes->size());
      CloudKitCacheSnapshot snapshot = CloudKitCacheSnapshot::decodeJSON(*bytes);
      const auto records = std::int64_t(snapshot.recordCount());
      restoring_ = true;
      cache_.replaceAll(std::move(snapshot));
      restoring_ = false;
      status.recordsLoaded = records;
      logger_.info("Restored cache from disk: %ld records, %ld bytes", records, status.fileSize);
    }
  } catch (const std::exception& error) {
    restoring_ = false;
    status.errorDescription = error.what();
    logger_.error("Failed to restore cache snapshot: %@", error.what());
  }
  initialLoadStatus_ = std::move(status);
  return *initialLoadStatus_;
}

void CacheSnapshotCoordinator::scheduleWrite() {
  if (writeRequested_) {
    return;
  }
  writeRequested_ = true;
  owner_.post([self = std::weak_ptr(self_)] {
    if (const auto coordinator = self.lock()) {
      (*coordinator)->writeFromOwner();
    }
  });
}

void CacheSnapshotCoordinator::writeFromOwner() {
  if (!writeRequested_) {
    return;
  }
  writeRequested_ = false;
  const std::uint64_t token = ++writer_->latestToken;
  writeQueue_.post(
      [writer = writer_, token, snapshot = cache_.snapshot()] { writer->write(token, snapshot); });
}

void CacheSnapshotCoordinator::flushSnapshotSynchronously() {
  writeRequested_ = false;
  writer_->write(++writer_->latestToken, cache_.snapshot());
}

std::optional<SnapshotStatus> CacheSnapshotCoordinator::lastWriteStatus() const {
  const std::lock_guard lock(writer_->mutex);
  return writer_->status;
}

std::uint64_t CacheSnapshotCoordinator::snapshotWriteToken() const {
  return writer_->latestToken.load();
}

} // namespace vantrel
