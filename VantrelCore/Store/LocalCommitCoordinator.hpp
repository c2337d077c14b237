#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/Executor.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/WidgetCenter.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/CloudKitPersistence.hpp"
#include "VantrelCore/Store/SnapshotStatus.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace vantrel {

/// Keeps "cache-snapshot.json" in step with the cache: fills the cache from it at start, and writes it
/// again after changes.
///
/// Coalescing: a mutation does not write at once. The first mutation after a write asks the owner
/// thread's executor for one write, which runs after the owner's current work, so a burst of changes
/// (a sync batch of hundreds of records) costs one copy of the maps and one write. That write is encoded
/// and stored on the background queue, tagged with a token; a queued write whose token is no longer the
/// latest is skipped, since a newer copy is queued behind it or already written, and writes never land
/// out of order. `flushSnapshotSynchronously()` writes on the calling thread and supersedes any write
/// still queued.
///
/// Used from the owner thread, except that queued writes run on `writeQueue`. The file system and clock
/// behind `persistence` and `clock` must outlive the writes still queued.
class CacheSnapshotCoordinator {
public:
  /// The label of the background queue the store creates for these writes.
  static constexpr std::string_view writeQueueLabel = "com.vantrel.vantrel.cache-snapshot";

  /// Schedules a write after each mutation of `cache` from now on, and tells `onMutation` (when given) of
  /// every mutation, those of restore() included. Each file written has `widgets` (when given, and from
  /// the writing thread) reload the widgets' timelines.
  CacheSnapshotCoordinator(CloudKitCache& cache, const CloudKitPersistence& persistence, Executor& owner,
                           Executor& writeQueue, const Clock& clock, std::function<void()> onMutation = {},
                           WidgetCenter* widgets = nullptr);
  ~CacheSnapshotCoordinator();
  CacheSnapshotCoordinator(const CacheSnapshotCoordinator&) = delete;
  CacheSnapshotCoordinator& operator=(const CacheSnapshotCoordinator&) = delete;

  /// Replaces the cache's records with the snapshot on disk. A missing, unreadable or undecodable file
  /// leaves the cache empty and is only logged: it means an empty first view until the first fetch.
  const SnapshotStatus& restore();
  /// The outcome of restore(); absent before it ran.
  const std::optional<SnapshotStatus>& initialLoadStatus() const { return initialLoadStatus_; }

  /// Asks for a write of the cache as it will be once the owner's current work is done.
  void scheduleWrite();
  /// Writes the cache as it is now, before returning.
  void flushSnapshotSynchronously();
  /// The outcome of the latest write that ran; absent before the first.
  std::optional<SnapshotStatus> lastWriteStatus() const;
  /// The token of the latest write requested of the queue or flushed.
  std::uint64_t snapshotWriteToken() const;

private:
  struct Writer;

  void writeFromOwner();

  CloudKitCache& cache_;
  const CloudKitPersistence& persistence_;
  Executor& owner_;
  Executor& writeQueue_;
  const Clock& clock_;
  Logger logger_;
  std::shared_ptr<Writer> writer_;
  /// Owner jobs hold a weak reference, so a job that outlives the coordinator does nothing.
  std::shared_ptr<CacheSnapshotCoordinator*> self_;
  bool writeRequested_ = false;
  std::optional<SnapshotStatus> initialLoadStatus_{};
  bool restoring_ = false;
};

} // namespace vantrel
