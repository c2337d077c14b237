#include "VantrelCore/Sync/RecordZoneChangeBatch.hpp"

namespace vantrel {

std::optional<RecordZoneChangeBatch>
RecordZoneChangeBatch::make(std::span<const PendingRecordZoneChange> pendingChanges,
                            const RecordProvider& recordProvider) {
  RecordZoneChangeBatch batch;
  std::size_t bytes = 0;
  for (const auto& change : pendingChanges) {
    if (batch.recordsToSave.size() + batch.recordIDsToDelete.size() >= maximumItems) {
      break;
    }
    if (change.kind == PendingRecordZoneChange::Kind::deleteRecord) {
      batch.recordIDsToDelete.push_back(change.recordID);
      continue;
    }
    auto record = recordProvider(change.recordID);
    if (!record) {
      batch.skippedSaves.push_back(change.recordID);
      continue;
    }
    const std::size_t size = record->wholeRecordData().size();
    if (!batch.recordsToSave.empty() && bytes + size > maximumBytes) {
      break;
    }
    bytes += size;
    batch.recordsToSave.push_back(std::move(*record));
  }
  if (batch.recordsToSave.empty() && batch.recordIDsToDelete.empty() && batch.skippedSaves.empty()) {
    return std::nullopt;
  }
  return batch;
}

} // namespace vantrel
