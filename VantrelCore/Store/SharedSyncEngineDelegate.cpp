#include "VantrelCore/Store/SharedSyncEngineDelegate.hpp"

#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"
#include "VantrelCore/Sync/CloudKitRecordError.hpp"

namespace vantrel {

SharedSyncEngineDelegate::SharedSyncEngineDelegate(WeakReference<CloudKitStore> store)
    : store_(std::move(store)), logger_("com.vantrel.vantrel", "CloudKitSharedSync") {}

void SharedSyncEngineDelegate::ingest(CloudKitStore& store, const CloudRecord& record) {
  auto& shared = store.sharedRecords_;
  const auto& type = record.recordType();
  const auto& name = record.recordID().recordName;
  try {
    if (type == CKRecordTypes::project) {
      shared.projects.insert_or_assign(name, readCloudRecord<ProjectRecord>(record));
    } else if (type == CKRecordTypes::task) {
      shared.tasks.insert_or_assign(name, readCloudRecord<TaskRecord>(record));
    } else if (type == CKRecordTypes::projectSection) {
      shared.sections.insert_or_assign(name, readCloudRecord<ProjectSectionRecord>(record));
    } else {
      logger_.info("Shared zone: ignoring %{public}s", type);
      return;
    }
  } catch (const CloudKitRecordError& error) {
    logger_.error("Failed to parse shared CKRecord %{public}s: %{public}@", name, error.what());
    return;
  }
  shared.systemFields.insert_or_assign(name, record.systemFieldsData());
  store.commits_.serverCopies().keepBaseRecord(name, record.wholeRecordData());
}

void SharedSyncEngineDelegate::handleEvent(const SyncEngineEvent& event, SyncEngine&) {
  auto* locked = store_.get();
  if (locked == nullptr) {
    return;
  }
  CloudKitStore& store = *locked;
  if (std::holds_alternative<StateUpdateEvent>(event)) {
    // Written with the next save point, after the shared records its tokens cover.
    store.commits_.scheduleWrite();
  } else if (const auto* zones = std::get_if<FetchedDatabaseChangesEvent>(&event)) {
    logger_.info("shared db changes: %ld mods, %ld dels", std::int64_t(zones->modifications.size()),
                 std::int64_t(zones->deletions.size()));
  } else if (const auto* fetched = std::get_if<FetchedRecordZoneChangesEvent>(&event)) {
    logger_.info("shared fetched: %ld mods, %ld dels", std::int64_t(fetched->modifications.size()),
                 std::int64_t(fetched->deletions.size()));
    for (const auto& record : fetched->modifications) {
      ingest(store, record);
    }
    auto& shared = store.sharedRecords_;
    for (const auto& deleted : fetched->deletions) {
      const auto& name = deleted.recordID.recordName;
      shared.projects.erase(name);
      shared.tasks.erase(name);
      shared.sections.erase(name);
      shared.systemFields.erase(name);
    }
    logger_.info("Shared store: %{public}ld projects, %{public}ld tasks",
                 std::int64_t(shared.projects.size()), std::int64_t(shared.tasks.size()));
    store.commits_.scheduleWrite();
    ++store.dataVersion_;
  }
}

std::optional<RecordZoneChangeBatch>
SharedSyncEngineDelegate::nextRecordZoneChangeBatch(const SendChangesContext&, SyncEngine&) {
  return std::nullopt;
}

} // namespace vantrel
