#include "VantrelCore/Store/PendingServerCopies.hpp"

#include "VantrelCore/Store/CloudKitPersistence.hpp"

namespace vantrel {

void PendingServerCopies::keepSystemFields(std::string_view recordType, std::string_view recordName,
                                           std::string bytes) {
  systemFields_.insert_or_assign(
      std::string(recordName),
      SystemFieldsEntry{std::string(recordType), std::move(bytes), false, ++sequence_});
}

void PendingServerCopies::keepBaseRecord(std::string_view recordName, std::string bytes) {
  baseRecords_.insert_or_assign(std::string(recordName), BaseEntry{std::move(bytes), ++sequence_});
}

void PendingServerCopies::forgetSystemFields(std::string_view recordType, std::string_view recordName) {
  systemFields_.insert_or_assign(
      std::string(recordName), SystemFieldsEntry{std::string(recordType), std::nullopt, false, ++sequence_});
}

void PendingServerCopies::forgetSystemFieldsByName(std::string_view recordName) {
  systemFields_.insert_or_assign(std::string(recordName),
                                 SystemFieldsEntry{{}, std::nullopt, true, ++sequence_});
}

void PendingServerCopies::forgetBaseRecord(std::string_view recordName) {
  baseRecords_.insert_or_assign(std::string(recordName), BaseEntry{std::nullopt, ++sequence_});
}

void PendingServerCopies::forgetAllSystemFields() {
  systemFields_.clear();
  wipe_ = ++sequence_;
}

PendingServerCopies::Lookup PendingServerCopies::systemFields(std::string_view recordType,
                                                              std::string_view recordName) const {
  if (const auto found = systemFields_.find(recordName); found != systemFields_.end()) {
    const auto& entry = found->second;
    if (entry.anyType || entry.recordType == recordType) {
      return entry.bytes;
    }
  }
  if (wipe_) {
    return std::optional<std::string>();
  }
  return std::nullopt;
}

PendingServerCopies::Lookup PendingServerCopies::baseRecord(std::string_view recordName) const {
  if (const auto found = baseRecords_.find(recordName); found != baseRecords_.end()) {
    return found->second.bytes;
  }
  return std::nullopt;
}

PendingServerCopies::Batch PendingServerCopies::batch() const {
  Batch batch{.wipeSystemFields = wipe_.has_value(), .upTo = sequence_};
  for (const auto& [name, entry] : systemFields_) {
    if (entry.bytes) {
      batch.systemFieldsWrites.push_back({entry.recordType, name, *entry.bytes});
    } else {
      batch.systemFieldsDeletions.push_back(
          {entry.anyType ? std::nullopt : std::optional(entry.recordType), name});
    }
  }
  for (const auto& [name, entry] : baseRecords_) {
    batch.baseRecordChanges.push_back({name, entry.bytes});
  }
  return batch;
}

void PendingServerCopies::written(std::uint64_t upTo) {
  std::erase_if(systemFields_, [&](const auto& entry) { return entry.second.sequence <= upTo; });
  std::erase_if(baseRecords_, [&](const auto& entry) { return entry.second.sequence <= upTo; });
  if (wipe_ && *wipe_ <= upTo) {
    wipe_.reset();
  }
}

void PendingServerCopies::Batch::applyTo(const CloudKitPersistence& persistence) const {
  if (wipeSystemFields) {
    persistence.wipeAllSystemFields();
  }
  for (const auto& deletion : systemFieldsDeletions) {
    if (deletion.recordType) {
      persistence.deleteSystemFields(*deletion.recordType, deletion.recordName);
    } else {
      persistence.deleteSystemFieldsByName(deletion.recordName);
    }
  }
  std::vector<CloudKitPersistence::ServerCopy> copies;
  for (const auto& write : systemFieldsWrites) {
    copies.push_back(
        {.recordType = write.recordType, .recordName = write.recordName, .systemFields = write.bytes});
  }
  for (const auto& change : baseRecordChanges) {
    if (change.bytes) {
      copies.push_back({.recordName = change.recordName, .baseRecord = *change.bytes});
    } else {
      persistence.deleteBaseRecord(change.recordName);
    }
  }
  persistence.writeServerCopies(copies);
}

} // namespace vantrel
