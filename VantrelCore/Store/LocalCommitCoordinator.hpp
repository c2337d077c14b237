#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/Executor.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/WeakReference.hpp"
#include "VantrelCore/Platform/WidgetCenter.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/CloudKitPersistence.hpp"
#include "VantrelCore/Store/LocalCommit.hpp"
#include "VantrelCore/Store/PendingServerCopies.hpp"
#include "VantrelCore/Store/SnapshotStatus.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vantrel {

/// Keeps the store's files in step with memory: fills the cache from "cache-snapshot.json" at start, and
/// writes save points (LocalCommit) after changes: the journal of pending changes, the snapshot, the kept
/// server copies and the engines' states, in that order.
///
/// Coalescing: a mutation does not write at once. The first mutation after a save point asks the owner
/// thread's executor for one, which runs after the owner's current work, so a burst of changes (a sync
/// batch of hundreds of records) costs one copy of the maps and one save point. That save point is
/// encoded and written on the background queue, tagged with a token; a queued one whose token is no
/// longer the latest is skipped, which loses nothing: each save point carries everything (server copies,
/// drained actions) that no earlier one is known to have written. `flushSnapshotSynchronously()` writes
/// on the calling thread and supersedes any save point still queued.
///
/// Used from the owner thread, except that queued writes run on `writeQueue` and report back to `owner`.
/// The file system, clock and owner behind `persistence`, `clock` and `owner` must outlive the writes still
/// queued.
class LocalCommitCoordinator {
public:
  /// The label of the background queue the store creates for these writes.
  static constexpr std::string_view writeQueueLabel = "com.vantrel.vantrel.cache-snapshot";

  /// Fills in what the store adds to a save point besides the cache and the server copies: the journal,
  /// the engines' states, the shared records. Called on the owner thread.
  using Capture = std::function<void(LocalCommit&)>;

  /// Schedules a save point after each mutation of `cache` from now on, and tells `onMutation` (when given)
  /// of every mutation, those of restore() included. Each save point written has `widgets` (when given,
  /// and from the writing thread) reload the widgets' timelines.
  LocalCommitCoordinator(CloudKitCache& cache, const CloudKitPersistence& persistence, Executor& owner,
                         Executor& writeQueue, const Clock& clock, Capture capture = {},
                         std::function<void()> onMutation = {}, WidgetCenter* widgets = nullptr);
  ~LocalCommitCoordinator();
  LocalCommitCoordinator(const LocalCommitCoordinator&) = delete;
  LocalCommitCoordinator& operator=(const LocalCommitCoordinator&) = delete;

  /// Replaces the cache's records with the snapshot on disk. A missing, unreadable or undecodable file
  /// leaves the cache empty and is logged; an undecodable one is set aside (".damaged") so that the next
  /// save point does not destroy it.
  const SnapshotStatus& restore();
  /// The outcome of restore(); absent before it ran.
  const std::optional<SnapshotStatus>& initialLoadStatus() const { return initialLoadStatus_; }
  /// The save point that wrote the restored snapshot; absent without one, or for a file of an older build.
  std::optional<std::int64_t> restoredLocalCommit() const { return restoredLocalCommit_; }
  /// Numbers the next save point after every one seen on disk.
  void noteLocalCommitOnDisk(std::int64_t number);

  /// Writes to the "systemfields" and "base" folders go here; reads look here before the disk.
  PendingServerCopies& serverCopies() { return serverCopies_; }
  const PendingServerCopies& serverCopies() const { return serverCopies_; }
  /// Takes the actions off the widget's queue once a save point holding their effect is on disk.
  void removeIntentActionsAfterSave(const std::set<std::string>& ids);

  /// Asks for a save point of the cache as it will be once the owner's current work is done.
  void scheduleWrite();
  /// Writes a save point of the cache as it is now, before returning.
  void flushSnapshotSynchronously();
  /// The outcome of the latest save point that ran; absent before the first. Its error names the first
  /// step that failed.
  std::optional<SnapshotStatus> lastWriteStatus() const;
  /// The token of the latest save point requested of the queue or flushed.
  std::uint64_t snapshotWriteToken() const;

private:
  struct Writer;

  LocalCommit capture();
  void writeFromOwner();
  /// A save point up to `token` is on disk, with everything it carried.
  void written(std::uint64_t serverCopiesUpTo, const std::set<std::string>& intentActions);

  CloudKitCache& cache_;
  const CloudKitPersistence& persistence_;
  Executor& owner_;
  Executor& writeQueue_;
  const Clock& clock_;
  Capture capture_;
  Logger logger_;
  std::shared_ptr<Writer> writer_;
  /// Owner jobs hold a weak reference, so a job that outlives the coordinator does nothing.
  ReferenceAnchor<LocalCommitCoordinator> self_{*this};
  bool writeRequested_ = false;
  std::optional<SnapshotStatus> initialLoadStatus_{};
  std::optional<std::int64_t> restoredLocalCommit_{};
  std::int64_t lastLocalCommit_ = 0;
  bool restoring_ = false;
  PendingServerCopies serverCopies_;
  std::set<std::string> drainedIntentActions_;
};

} // namespace vantrel
