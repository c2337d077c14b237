#pragma once

#include "VantrelCore/Model/AreaItemKey.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/ProjectItemKey.hpp"
#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/Executor.hpp"
#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"
#include "VantrelCore/Platform/WeakReference.hpp"
#include "VantrelCore/Platform/WidgetCenter.hpp"
#include "VantrelCore/Store/CloudKitAccountChange.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/CloudKitPersistence.hpp"
#include "VantrelCore/Store/CloudKitZoneDeleteReason.hpp"
#include "VantrelCore/Store/GapTasksOnDelete.hpp"
#include "VantrelCore/Store/LocalCommitCoordinator.hpp"
#include "VantrelCore/Store/NewTaskOptions.hpp"
#include "VantrelCore/Store/RecordSyncFailure.hpp"
#include "VantrelCore/Store/Rules/RecordWriter.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"
#include "VantrelCore/Store/Rules/TaskSchedule.hpp"
#include "VantrelCore/Store/SharedRecordStore.hpp"
#include "VantrelCore/Store/SnapshotStatus.hpp"
#include "VantrelCore/Store/SyncConflict.hpp"
#include "VantrelCore/Store/SyncEventHandler.hpp"
#include "VantrelCore/Store/SyncHealth.hpp"
#include "VantrelCore/Store/SyncStatus.hpp"
#include "VantrelCore/Store/UIError.hpp"
#include "VantrelCore/Store/UndoableAction.hpp"
#include "VantrelCore/Store/WriteOutcome.hpp"
#include "VantrelCore/Sync/CloudDatabase.hpp"
#include "VantrelCore/Sync/CloudKitDomainRecord.hpp"
#include "VantrelCore/Sync/SyncEngine.hpp"

#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

class StoreSyncDelegate;

/// The one owner of the planner's data in memory and the only door to the cloud: the record cache and
/// its snapshot, the sync engines of the private and the shared database with their delegates, the
/// records others shared, and the sync status the screens show.
///
/// Used from the owner thread. Writes change the cache at once and leave the upload to the engine.
///
/// What is on disk, and why nothing the user changed is lost: every change lands in the cache and in the
/// engine's list of pending changes, and reaches the disk at the next save point (LocalCommit), which
/// writes the journal of pending changes with their records first, then the snapshot, then the server's
/// bookkeeping, then the engines' states with their change tokens. Each file carries the number of the
/// save point that wrote it. At start-up:
/// - the cache is the snapshot, with the journal's records laid over it when the journal is at least as
///   new (a crash between the two writes);
/// - the pending changes are those of the engine state and of the journal together; when both files are
///   lost or damaged they are rebuilt from the snapshot against the base copies (saves only: a record
///   missing here may be one this device never saw, and deleting it would destroy another device's work);
/// - the change tokens are kept only when the snapshot is intact and no older than the engine state;
///   otherwise they are dropped and everything is fetched again, which is always safe because a fetched
///   record never overwrites one with a pending save.
/// A file that cannot be read is set aside (".damaged") rather than overwritten, and logged.
class CloudKitStore : private RecordWriter, private SyncEventHandler {
public:
  static constexpr std::string_view zoneName = "VantrelZone";
  /// The label of the store's own work queue, for logs; the store runs on its owner's executor.
  static constexpr std::string_view workQueueLabel = "com.vantrel.vantrel.cloudkitstore";

  struct Environment {
    const Clock& clock;
    /// The owner's loop: background results come back here, and automatic syncs run here.
    Executor& owner;
    /// Where cache snapshots are written ("com.vantrel.vantrel.cache-snapshot").
    Executor& snapshotQueue;
    /// Opens the cloud database a container identifier names; called once, on first use.
    std::function<std::unique_ptr<CloudDatabase>(std::string_view containerIdentifier)> openContainer;
    /// The value under "CloudKitContainerID".
    std::string containerIdentifier = "iCloud.com.vantrel.vantrel";
    /// Whether the engines send by themselves after a write and retry by themselves.
    bool automaticallySync = true;
    /// Where new record names come from; random when not given.
    UUIDGenerator* uuids = nullptr;
    /// Told after every snapshot written, from the snapshot queue; none when there is no widget host.
    WidgetCenter* widgets = nullptr;
  };

  /// Restores the cache and the shared records from disk; no cloud work happens before start().
  CloudKitStore(CloudKitPersistence persistence, Environment environment);
  ~CloudKitStore();
  CloudKitStore(const CloudKitStore&) = delete;
  CloudKitStore& operator=(const CloudKitStore&) = delete;

  const CloudKitCache& cache() const { return cache_; }
  const SharedRecordStore& sharedRecords() const { return sharedRecords_; }
  const CloudKitPersistence& persistence() const { return persistence_; }
  /// The container's database, opened on first use.
  CloudDatabase& container();
  CloudRecordZoneID zoneID() const { return CloudRecordZoneID{std::string(zoneName)}; }

  SyncEngine* syncEngine() const { return syncEngine_.get(); }
  SyncEngine* sharedSyncEngine() const { return sharedSyncEngine_.get(); }
  bool isStarting() const { return isStarting_; }
  bool isStarted() const { return isStarted_; }
  bool isFetching() const { return isFetching_; }
  const std::optional<CloudAccountStatus>& accountStatus() const { return accountStatus_; }
  bool schemaMigrationComplete() const { return schemaMigrationComplete_; }
  /// Moves on every change of the data the screens and the widget show.
  std::int64_t dataVersion() const { return dataVersion_; }
  const std::map<std::string, std::string>& keptConfirmedTags() const { return keptConfirmedTags_; }
  const std::optional<WriteOutcome>& lastWrite() const { return lastWrite_; }
  const std::optional<WriteOutcome>& lastFetch() const { return lastFetch_; }
  std::int64_t pendingWriteCount() const { return pendingWriteCount_; }
  const std::optional<Date>& pendingSince() const { return pendingSince_; }
  int consecutiveFetchFailures() const { return consecutiveFetchFailures_; }
  const std::optional<UIError>& lastUIError() const { return lastUIError_; }
  void clearUIError() { lastUIError_.reset(); }
  const std::set<std::string>& pendingQuotaRetries() const { return pendingQuotaRetries_; }
  /// The latest conflict that took a change of this device away, and the last `recentConflictLimit`.
  const std::optional<SyncConflict>& lastConflict() const { return lastConflict_; }
  const std::deque<SyncConflict>& recentConflicts() const { return recentConflicts_; }
  static constexpr std::size_t recentConflictLimit = 20;
  /// Broken without a usable account or after more than five failed fetches in a row; degraded when a
  /// record could not be read or sent, the last fetch failed, writes wait over 30 seconds, the last fetch
  /// is over 300 seconds old, or more than two fetches failed in a row; healthy otherwise.
  SyncHealth syncHealth() const;
  /// The fetch outcome, failures, waiting writes, conflicts and banner, to keep between runs.
  SyncStatus syncStatus() const;
  /// Takes back what syncStatus() gave in an earlier run; called before start(), which then clears the
  /// waiting time when nothing waits any more.
  void restoreSyncStatus(SyncStatus status);
  /// Logs a write the user asked for that failed, and puts its message in the banner.
  void reportUIWriteFailure(std::string_view operation, const std::exception& error);
  const std::optional<SnapshotStatus>& initialSnapshotLoad() const { return commits_.initialLoadStatus(); }
  /// The latest save point; its error names the first file that could not be written.
  std::optional<SnapshotStatus> lastSnapshotWrite() const { return commits_.lastWriteStatus(); }
  std::uint64_t snapshotWriteToken() const { return commits_.snapshotWriteToken(); }
  /// Records sync could not carry: fetched records that could not be read (left out until they can be,
  /// tried again at every fetch) and changes the cloud refused for a reason a retry may not cure (kept,
  /// and sent again at every sync). Each keeps the health from "healthy".
  const std::map<std::string, RecordSyncFailure>& recordFailures() const { return recordFailures_; }

  /// This device has the YAML bridge open.
  bool localBridgeFreeze() const { return localBridgeFreeze_; }
  void setLocalBridgeFreeze(bool frozen) { localBridgeFreeze_ = frozen; }
  /// The name of another device that holds the bridge lock.
  const std::optional<std::string>& externalBridgeLockOwnerName() const {
    return externalBridgeLockOwnerName_;
  }
  void setExternalBridgeLockOwnerName(std::optional<std::string> name) {
    externalBridgeLockOwnerName_ = std::move(name);
  }
  /// The bridge is applying a check-in: its writes pass the freeze, and fetched records always land.
  bool bridgeIsApplying() const { return bridgeIsApplying_; }
  void setBridgeIsApplying(bool applying) { bridgeIsApplying_ = applying; }
  bool isFrozen() const { return localBridgeFreeze_ || externalBridgeLockOwnerName_.has_value(); }

  /// Brings the store on line: account, saved engine states, engines, zone and schema. Throws
  /// CloudKitStoreError (noICloudAccount, zoneSetupFailed) or the account call's CloudError.
  void start();
  /// After start() failed for a reason other than the account (the cloud database cannot be opened or
  /// used): the store goes on with its cache alone. Reads work, and writes queue for a later run that
  /// reaches the cloud: the engines run over a database that answers every call as unreachable. Logs
  /// "[Vantrel] CloudKit start failed; %d cached records available, proceeding offline. Error: %@".
  void startOffline(const std::exception& startFailure);
  /// Goes on with the cache alone because the user asked to: as startOffline(), but nothing failed, so the
  /// fetch status stays as it was.
  void startLocalOnly();
  /// Running on the cache alone after startOffline() or startLocalOnly().
  bool isOffline() const;
  /// Drops both engines, deletes the saved private engine state and every kept system-fields file; the
  /// cache stays.
  void stop();
  /// The database said it changed: fetches, and answers whether the number of cached records changed.
  bool handlePushNotification();
  /// Fetches the private, then the shared database.
  void syncNow();
  /// Pushes, on this platform: every `intervalSeconds` the owner's loop asks the database for its change
  /// counter, and a counter that moved is handled as a push. A poll rather than a file watch, because one
  /// database file may be written from other machines, whose writes a watch would miss, and because the
  /// question costs the database one indexed read. Ends with stop() or the store.
  void watchForChanges(double intervalSeconds);
  /// Deletes the zone on the server and every local trace of the data, then makes the zone again.
  void wipeAllData();
  /// Writes a save point now; lastSnapshotWrite() tells how it went.
  void flushSnapshotSynchronously() { commits_.flushSnapshotSynchronously(); }
  void fetchChangesNow();
  void fetchSharedChangesNow();
  /// Writes the zone's schema-version record when it has none, so that writes may begin, then drains.
  void runFirstLaunchFlow();
  /// Applies the done toggles the widget and shortcuts queued, in order, and removes them from the queue.
  /// An action that fails is logged and dropped; none is looked at while the store refuses every write
  /// (a bridge open, no schema yet), so those wait for a drain that can apply them. Runs at the end of
  /// start().
  void drainPendingIntentActions();

  /// Runs `change` (any number of mutations) as one: when it throws, the cache, the pending changes and
  /// the undoable action are as they were before, and the exception passes.
  void performAtomically(const std::function<void()>& change);

  /// Puts the entity into the cache and queues its upload.
  template <class Record> void saveRecord(const Record& record);
  /// Takes the entity out of the cache and queues its deletion on the server.
  void deleteRecord(std::string_view recordType, std::string_view recordName);

  // Mutations. Each checks everything it needs before it writes anything, so a refused one (the guard, a
  // missing record, a rule) changes nothing; each throws CloudKitStoreError.

  /// A new area after the last one; its record name is the unique slug of its (trimmed) name.
  std::string addArea(std::string_view name, std::string color, std::string icon);
  void setAreaName(std::string_view area, std::string_view name);
  void setAreaColor(std::string_view area, std::string color);
  void setAreaHidden(std::string_view area, bool isHidden);
  /// Refused with areaNotEmpty while the area shows a project that is not archived (its own or one shared
  /// with the user) or holds a task of its own; otherwise deletes the area with this user's headers in it.
  void deleteArea(std::string_view area);

  /// A new active project, filed for this user after the last item of the area.
  std::string addProject(std::string_view name, std::string_view area,
                         std::optional<std::string> purpose = {});
  void setProjectName(std::string_view project, std::string_view name);
  void setProjectPurpose(std::string_view project, std::optional<std::string> purpose);
  void setProjectDueDate(std::string_view project, std::optional<Date> dueDate);
  /// Pins or unpins the project for this user (on the user's placement).
  void setProjectPinned(std::string_view project, bool isPinned);
  /// "active" or "archived"; another text throws std::invalid_argument.
  void setProjectStatus(std::string_view project, std::string_view status);
  /// The project's place in the user's area list.
  void setProjectSortIndex(std::string_view project, std::int64_t sortIndex);
  /// A new project placed directly after one of this user's area headers.
  std::string addProjectBelowHeader(std::string_view areaHeader, std::string_view name);
  /// Deletes the project with everything that only it reaches: its tasks and headers, this user's
  /// placement of it, schedules of its tasks and folding of its headers.
  void deleteProject(std::string_view project);

  /// A header in a project, at the top of its items or after the last.
  std::string addHeaderToProject(std::string_view project, std::string_view title, bool insertAtTop = false);
  /// This user's header in an area, at the top of the area's items or after the last.
  std::string addHeaderToArea(std::string_view area, std::string_view title, bool insertAtTop = false);
  /// Renames a header of either kind.
  void setHeaderTitle(std::string_view header, std::string_view title);
  /// Deletes a header of either kind; a project header's tasks stay in the project.
  void deleteHeader(std::string_view header);

  /// A gap on the day after its last one; the day's record is made the first time it is needed.
  std::string addGap(const CalendarDate& day, std::string time, std::optional<std::string> label,
                     bool reminder, std::optional<std::string> recordName = {});
  /// Changes what is given; tasks planned into the gap move with a new start time.
  void updateGap(std::string_view gap, std::optional<std::string> time,
                 std::optional<std::optional<std::string>> label, std::optional<bool> reminder);
  /// Deletes the gap; the tasks planned into it stay on the day, or return to anyday.
  void deleteGap(std::string_view gap, GapTasksOnDelete tasks = GapTasksOnDelete::keepOnDay);
  /// Copies gaps (time, label, reminder) onto other days; answers the new gaps' names in order.
  std::vector<std::string> copyGaps(std::span<const std::pair<CalendarDate, GapRecord>> copies);

  /// Moves a task, with its subtasks, to another project or area, after the last item there. A subtask
  /// moved on its own becomes a task of the new home.
  void moveTask(std::string_view task, std::string_view home);
  /// Gives the listed items of the project (tasks and headers) fresh sort indexes in the listed order.
  void reorderProject(std::string_view project, std::span<const ProjectItemKey> newOrder);
  /// Gives the listed items of the area (this user's placements and headers) fresh indexes in order.
  void reorderAreaProjects(std::string_view area, std::span<const AreaItemKey> newOrder);
  void reorderAreaTasks(std::string_view area, std::span<const std::string> taskOrder);

  std::string addInboxItem(std::string_view title, std::optional<std::string> notes, Date capturedAt,
                           std::optional<std::string> recordName = {});
  void deleteInboxItem(std::string_view item);

  /// A new task at the end of the area's tasks, or where the options say. `aboveFirstSection` is refused
  /// (std::invalid_argument): an area's tasks have no headers.
  std::string addTaskToArea(std::string_view area, std::string_view title,
                            const NewTaskOptions& options = {});
  /// A new task at the end of the project's items, or where the options say.
  std::string addTaskToProject(std::string_view project, std::string_view title,
                               const NewTaskOptions& options = {});
  /// A new task directly after the reference (a subtask after a subtask, under the same parent). It takes
  /// the index halfway to the next item; when the two are adjacent the list is renumbered first.
  std::string addTaskBelow(std::string_view referenceTask, std::string_view title);
  /// A new task directly after a project header, by the same rule.
  std::string addTaskBelowHeader(std::string_view header, std::string_view title);
  /// Turns an inbox item into a task of the project (or, without one, of the area) and deletes the item.
  /// With `alsoAppendNote` the triage note goes at the end of the project's purpose, on a line of its own.
  std::string triageInboxItem(std::string_view item, std::string_view area,
                              std::optional<std::string> project, bool alsoAppendNote);
  /// A subtask after the parent's last subtask, in the parent's home.
  std::string addSubtask(std::string_view parentTask, std::string_view title,
                         std::optional<std::string> recordName = {});
  void setTaskTitle(std::string_view task, std::string_view title);
  void setTaskDone(std::string_view task, bool done);
  void setTaskDueDate(std::string_view task, std::optional<Date> dueDate);
  /// Plans the task for this user; with neither a day nor a gap time the schedule record is deleted.
  void setTaskSchedule(std::string_view task, std::optional<CalendarDate> day,
                       std::optional<std::string> gapTime);
  /// Deletes the task with its subtasks and this user's schedules of them all; undoable.
  void deleteTask(std::string_view task);
  /// Deletes the tasks (a subtask whose parent is listed too goes with the parent); undoable as one.
  void deleteTasks(std::span<const std::string> tasks);

  /// Plans many tasks at once; undoable as one move.
  void setTaskSchedules(std::span<const TaskSchedule> schedules);
  /// Plans every listed task for the same day and gap; undoable as one move.
  void setTaskSchedules(std::span<const std::string> tasks, std::optional<CalendarDate> day,
                        std::optional<std::string> gapTime);

  /// Marks the projects as checked out to the YAML bridge by this user's device `deviceName`, so that
  /// every device pauses. The bridge's own writes: they pass the freeze the bridge itself set.
  void bridgeLockProjects(std::span<const std::string> projects, std::string_view deviceName, Date lockedAt);
  /// Clears the bridge lock of the projects.
  void bridgeUnlockProjects(std::span<const std::string> projects);

  /// What undoLast() would take back. Deleting tasks and moving them with setTaskSchedules record it;
  /// a later such operation replaces it, other mutations leave it, and it does not expire.
  const std::optional<UndoableAction>& lastUndoable() const { return lastUndoable_; }
  /// Takes back lastUndoable() through the ordinary write path, then forgets it.
  void undoLast();
  /// Hands the store an action remembered from an earlier run of the program.
  void setLastUndoable(std::optional<UndoableAction> action) { lastUndoable_ = std::move(action); }

private:
  /// A write the user asked for: refused up front by the guard, and while it lives the pending changes of
  /// its records wait and go to the engine together when the outermost ends, so a mutation of many
  /// records saves the engine's state once. Ending also after a throw, since the cache already holds what
  /// was written.
  class WriteScope {
  public:
    explicit WriteScope(CloudKitStore& store);
    ~WriteScope();
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;

  private:
    CloudKitStore& store_;
  };
  /// The bridge's own writes pass the freeze the bridge itself set, the way its check-in does.
  class BridgeWrite {
  public:
    explicit BridgeWrite(CloudKitStore& store)
        : store_(store), wasApplying_(std::exchange(store.bridgeIsApplying_, true)) {}
    ~BridgeWrite() { store_.bridgeIsApplying_ = wasApplying_; }
    BridgeWrite(const BridgeWrite&) = delete;
    BridgeWrite& operator=(const BridgeWrite&) = delete;

  private:
    CloudKitStore& store_;
    bool wasApplying_;
  };

  // The write path the planner's rules take.
  void save(AnyRecord record) override;
  void remove(std::string_view recordType, std::string_view recordName) override;

  /// Refuses writes while the bridge holds the data, before start(), and before the schema is known.
  void guardWrite() const;
  void enqueue(PendingRecordZoneChange change);
  void addPendingChanges(std::span<const PendingRecordZoneChange> changes);
  void updatePendingWrites();
  /// Finds the zone, or makes it; throws zoneSetupFailed for any other failure.
  void ensureZone();
  void checkSchemaVersion();
  /// The saved state of one engine, its tokens dropped when the records on disk do not cover them; none
  /// when there is no file or it cannot be read (then it is set aside).
  std::optional<SyncEngineState> loadEngineState(const std::filesystem::path& file,
                                                 std::string_view failureFormat, bool& unreadable);
  /// Lays the journal of pending changes over the restored snapshot and remembers what it lists.
  void restorePendingChanges();
  /// The pending saves the snapshot implies when no list of them survived: records without a base copy or
  /// different from it.
  std::vector<PendingRecordZoneChange> rebuildPendingSaves();
  /// Creates the engines over `database` with the saved states (or the states of the engines they
  /// replace); the pending changes of the journal join the private one. Answers whether a saved private
  /// state was found.
  bool makeEngines(CloudDatabase& database);
  std::size_t makeStartupBaseCopies();
  /// The start of both ways onto the cache alone; `reason` is what the unreachable database answers.
  void startOnCache(const std::string& reason);
  /// What the store adds to a save point: the journal, the engines' states, the shared records.
  void captureCommit(LocalCommit& commit) const;
  /// The pending changes a save point keeps: the engine's, and those parked after a failure.
  std::vector<PendingRecordZoneChange> changesToKeep() const;
  /// Changes the engine no longer holds, parked after a full cloud storage or another refusal.
  std::vector<PendingRecordZoneChange> parkedChangeList() const;
  /// Keeps a change the cloud refused for a reason a retry may not cure, to send again at the next sync.
  void parkFailedChange(PendingRecordZoneChange change, std::string_view recordType, const CloudError& error);
  /// Queues again the changes parked after failures, and tries again to read the records that came
  /// unreadable.
  void retryRecordFailures();
  void recordUnreadable(std::string recordType, std::string recordName, std::string errorDescription);

  // What the engines' delegates hand the store, for either database.
  void stateUpdated(CloudDatabaseScope scope) override;
  void accountChanged(CloudDatabaseScope scope, AccountChangeEvent::Kind kind) override;
  void databaseChangesFetched(CloudDatabaseScope scope, const FetchedDatabaseChangesEvent& event) override;
  void recordChangesFetched(CloudDatabaseScope scope, const FetchedRecordZoneChangesEvent& event) override;
  void recordChangesSent(CloudDatabaseScope scope, const SentRecordZoneChangesEvent& event) override;
  void fetchingChanged(CloudDatabaseScope scope, bool fetching) override;
  void unhandledEvent(CloudDatabaseScope scope) override;
  std::optional<CloudRecord> recordToSend(CloudDatabaseScope scope, const CloudRecordID& recordID) override;
  /// Takes the projects others shared, with their tasks and headers, into the shared records.
  void takeInShared(const FetchedRecordZoneChangesEvent& event);
  void takeInShared(const CloudRecord& record);

  void handleAccountChange(CloudKitAccountChange change);
  /// The record to send for a pending save: the cached entity on its kept bookkeeping.
  std::optional<CloudRecord> buildRecord(const CloudRecordID& recordID);
  /// Takes fetched or confirmed records into the cache, except those a local save of waits for, and
  /// keeps the server's copy of each taken in.
  void ingest(std::span<const CloudRecord> records);
  void removeFetched(const CloudDeletedRecord& deleted);
  void confirmSaves(std::span<const CloudRecord> records);
  void handleFailedSave(const CloudRecord& record, const CloudError& error);
  void handleFailedDelete(const CloudRecordID& recordID, const CloudError& error);
  /// The server holds a newer version of a record this device saved: resend on the server's tag when the
  /// newer version is this device's own save, let a waiting delete stand, take the server's version when
  /// there is nothing to merge against, and otherwise merge field by field and resend.
  void handleConflict(const CloudError& error);
  void recordConflict(SyncConflict conflict, std::string notice);
  /// Queues a save again for every record parked by a full cloud storage.
  void requeueQuotaRetries();
  /// Puts the record's entity into the cache, whatever waits locally; false when it cannot be read.
  bool takeIntoCache(const CloudRecord& record);
  void handleZoneDeletion(CloudKitZoneDeleteReason reason);
  /// Keeps the server's bookkeeping and a full copy of each record, the ancestor of later merges, with
  /// one sync for all of them.
  void keepServerCopies(std::span<const CloudRecord* const> records);
  void keepServerCopy(const CloudRecord& record);
  /// The kept bookkeeping and base copy of a record, as the next save point will leave them.
  std::optional<std::string> keptSystemFields(std::string_view recordType, std::string_view recordName) const;
  std::optional<std::string> keptBaseRecord(std::string_view recordName) const;
  /// Takes the entity of the record's type out of the cache.
  void removeFromCache(std::string_view recordType, std::string_view recordName);

  CloudKitPersistence persistence_;
  Environment environment_;
  Logger logger_;
  Logger sharedLogger_{"com.vantrel.vantrel", "CloudKitSharedSync"};
  CloudKitCache cache_;
  std::int64_t dataVersion_ = 0;
  LocalCommitCoordinator commits_;
  SharedRecordStore sharedRecords_;
  std::unique_ptr<CloudDatabase> container_;
  std::shared_ptr<StoreSyncDelegate> delegate_;
  std::unique_ptr<SyncEngine> syncEngine_;
  std::shared_ptr<StoreSyncDelegate> sharedDelegate_;
  std::unique_ptr<SyncEngine> sharedSyncEngine_;
  bool isStarting_ = false;
  bool isStarted_ = false;
  bool isFetching_ = false;
  std::optional<CloudAccountStatus> accountStatus_;
  bool schemaMigrationComplete_ = false;
  std::map<std::string, std::string> keptConfirmedTags_;
  std::optional<WriteOutcome> lastWrite_;
  std::optional<WriteOutcome> lastFetch_;
  std::int64_t pendingWriteCount_ = 0;
  std::optional<Date> pendingSince_;
  int consecutiveFetchFailures_ = 0;
  std::optional<UIError> lastUIError_;
  std::set<std::string> pendingQuotaRetries_;
  /// Changes refused for a reason a retry may not cure, by record name, waiting for the next sync.
  std::map<std::string, PendingRecordZoneChange> parkedChanges_;
  std::map<std::string, RecordSyncFailure> recordFailures_;
  /// The pending changes the journal on disk listed, until the engines exist.
  std::vector<PendingRecordZoneChange> restoredPendingChanges_;
  bool journalUnreadable_ = false;
  /// Whether the records on disk can be trusted to cover the saved change tokens.
  bool recordsCoverTokens_ = false;
  /// Stands in for the cloud when start() failed and the store runs on its cache.
  std::unique_ptr<CloudDatabase> offlineDatabase_;
  std::optional<SyncConflict> lastConflict_;
  std::deque<SyncConflict> recentConflicts_;
  bool localBridgeFreeze_ = false;
  std::optional<std::string> externalBridgeLockOwnerName_;
  bool bridgeIsApplying_ = false;
  /// Background jobs hold a weak reference, so one that outlives the store does nothing.
  ReferenceAnchor<CloudKitStore> self_{*this};
  /// The delegates reach the store only through this, and weakly.
  ReferenceAnchor<SyncEventHandler> eventSink_{*this};
  std::optional<std::int64_t> watchedCounter_;
  bool watching_ = false;
  /// The polling job; jobs on the loop hold it weakly, so it ends with the store.
  std::shared_ptr<std::function<void()>> watchPoll_;
  std::optional<UndoableAction> lastUndoable_;
  int writeBatchDepth_ = 0;
  std::vector<PendingRecordZoneChange> batchedChanges_;
  RandomUUIDGenerator randomUUIDs_;
  /// What the planner's rules work over; last, since it refers to the members above.
  RuleContext rules_;
};

template <class Record> void CloudKitStore::saveRecord(const Record& record) {
  guardWrite();
  if constexpr (std::is_same_v<Record, SchemaVersionRecord>) {
    cache_.setSchemaVersion(record);
  } else {
    cache_.upsert(record);
  }
  enqueue(PendingRecordZoneChange::save(CloudRecordID{cloudRecordName(record), zoneID()}));
}

} // namespace vantrel
