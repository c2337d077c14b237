#include "VantrelCore/Store/LocalCommitCoordinator.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <utility>

namespace vantrel {

/// What a queued save point needs, shared with the jobs so that it outlives the coordinator if it must.
struct LocalCommitCoordinator::Writer {
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

  /// False when the save point was skipped or failed.
  bool write(std::uint64_t token, const LocalCommit& commit) {
    const std::lock_guard lock(mutex);
    if (token < latestToken.load() || token <= writtenToken) {
      return false;
    }
    writtenToken = token;
    SnapshotStatus outcome{.when = clock.now()};
    bool done = false;
    try {
      outcome.fileSize = commit.write(persistence, logger);
      done = true;
    } catch (const std::exception& error) {
      outcome.errorDescription = error.what();
    }
    status = std::move(outcome);
    // The widget reads these files; without a reload it would show the old ones until its next entry.
    if (done && widgets) {
      widgets->reloadAllTimelines();
    }
    return done;
  }
};

LocalCommitCoordinator::LocalCommitCoordinator(CloudKitCache& cache, const CloudKitPersistence& persistence,
                                               Executor& owner, Executor& writeQueue, const Clock& clock,
                                               Capture capture, std::function<void()> onMutation,
                                               WidgetCenter* widgets)
    : cache_(cache), persistence_(persistence), owner_(owner), writeQueue_(writeQueue), clock_(clock),
      capture_(std::move(capture)), logger_("com.vantrel.vantrel", "CloudKitStore"),
      writer_(std::make_shared<Writer>(persistence, clock, logger_, widgets)) {
  cache_.setOnMutation([this, onMutation = std::move(onMutation)] {
    if (onMutation) {
      onMutation();
    }
    if (!restoring_) {
      scheduleWrite();
    }
  });
}

LocalCommitCoordinator::~LocalCommitCoordinator() {
  cache_.setOnMutation(nullptr);
}

const SnapshotStatus& LocalCommitCoordinator::restore() {
  SnapshotStatus status{.when = clock_.now(), .recordsLoaded = 0};
  std::optional<std::string> bytes;
  try {
    bytes = persistence_.readCacheSnapshot();
    if (!bytes) {
      logger_.info("No snapshot file on disk (fresh install or first run with this build)");
    } else {
      status.fileSize = std::int64_t(bytes->size());
      CloudKitCacheSnapshot snapshot = CloudKitCacheSnapshot::decodeJSON(*bytes);
      const auto records = std::int64_t(snapshot.recordCount());
      restoredLocalCommit_ = snapshot.localCommit;
      if (snapshot.localCommit) {
        noteLocalCommitOnDisk(*snapshot.localCommit);
      }
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
    if (bytes) {
      persistence_.setAside(persistence_.cacheSnapshotURL(), logger_);
    }
  }
  initialLoadStatus_ = std::move(status);
  return *initialLoadStatus_;
}

void LocalCommitCoordinator::noteLocalCommitOnDisk(std::int64_t number) {
  lastLocalCommit_ = std::max(lastLocalCommit_, number);
}

void LocalCommitCoordinator::removeIntentActionsAfterSave(const std::set<std::string>& ids) {
  drainedIntentActions_.insert(ids.begin(), ids.end());
  scheduleWrite();
}

void LocalCommitCoordinator::scheduleWrite() {
  if (writeRequested_) {
    return;
  }
  writeRequested_ = true;
  owner_.post([self = self_.reference()] {
    if (auto* coordinator = self.get()) {
      coordinator->writeFromOwner();
    }
  });
}

LocalCommit LocalCommitCoordinator::capture() {
  LocalCommit commit{.number = ++lastLocalCommit_,
                     .snapshot = cache_.snapshot(),
                     .serverCopies = serverCopies_.batch(),
                     .drainedIntentActions = drainedIntentActions_};
  commit.snapshot.localCommit = commit.number;
  if (capture_) {
    capture_(commit);
  }
  return commit;
}

void LocalCommitCoordinator::written(std::uint64_t serverCopiesUpTo,
                                     const std::set<std::string>& intentActions) {
  serverCopies_.written(serverCopiesUpTo);
  for (const auto& id : intentActions) {
    drainedIntentActions_.erase(id);
  }
}

void LocalCommitCoordinator::writeFromOwner() {
  if (!writeRequested_) {
    return;
  }
  writeRequested_ = false;
  const std::uint64_t token = ++writer_->latestToken;
  writeQueue_.post([writer = writer_, token, commit = capture(), owner = &owner_, self = self_.reference()] {
    if (!writer->write(token, commit)) {
      return;
    }
    owner->post([self, upTo = commit.serverCopies.upTo, actions = commit.drainedIntentActions] {
      if (auto* coordinator = self.get()) {
        coordinator->written(upTo, actions);
      }
    });
  });
}

void LocalCommitCoordinator::flushSnapshotSynchronously() {
  writeRequested_ = false;
  const LocalCommit commit = capture();
  if (writer_->write(++writer_->latestToken, commit)) {
    written(commit.serverCopies.upTo, commit.drainedIntentActions);
  }
}

std::optional<SnapshotStatus> LocalCommitCoordinator::lastWriteStatus() const {
  const std::lock_guard lock(writer_->mutex);
  return writer_->status;
}

std::uint64_t LocalCommitCoordinator::snapshotWriteToken() const {
  return writer_->latestToken.load();
}

} // namespace vantrel
