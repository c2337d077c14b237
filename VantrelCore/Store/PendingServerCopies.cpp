#include "VantrelCore/Store/PendingServerCopies.hpp"

#include "VantrelCore/Store/CloudKitPersistence.hpp"

namespace vantrel {

template <class Entry>
void PendingServerCopies::remember(std::map<std::string, Entry, std::less<>> PendingServerCopies::*entries,
                                   std::string_view recordName) {
  if (!rollbackLog_) {
    return;
  }
  const auto& map = this->*entries;
  const auto found = map.find(recordName);
  rollbackLog_->push_back([entries, name = std::string(recordName),
                           before = found == map.end() ? std::nullopt : std::optional(found->second)](
                              PendingServerCopies& copies) {
    if (before) {
      (copies.*entries).insert_or_assign(name, *before);
    } else {
      (copies.*entries).erase(name);
    }
  });
}

void PendingServerCopies::rollBack() {
  if (!rollbackLog_) {
    return;
  }
  auto undo = std::move(*rollbackLog_);
  rollbackLog_.reset();
  for (auto step = undo.rbegin(); step != undo.rend(); ++step) {
    (*step)(*this);
  }
}

void PendingServerCopies::keepSystemFields(std::string_view recordType, std::string_view recordName,
                                           std::string bytes) {
  remember(&PendingServerCopies::systemFields_, recordName);
  systemFields_.insert_or_assign(
      std::string(recordName),
      SystemFieldsEntry{std::string(recordType), std::move(bytes), false, ++sequence_});
}

void PendingServerCopies::keepBaseRecord(std::string_view recordName, std::string bytes) {
  remember(&PendingServerCopies::baseRecords_, recordName);
  baseRecords_.insert_or_assign(std::string(recordName), BaseEntry{std::move(bytes), ++sequence_});
}

void PendingServerCopies::forgetSystemFields(std::string_view recordType, std::string_view recordName) {
  remember(&PendingServerCopies::systemFields_, recordName);
  systemFields_.insert_or_assign(
      std::string(recordName), SystemFieldsEntry{std::string(recordType), std::nullopt, false, ++sequence_});
}

void PendingServerCopies::forgetSystemFieldsByName(std::string_view recordName) {
  remember(&PendingServerCopies::systemFields_, recordName);
  systemFields_.insert_or_assign(std::string(recordName),
                                 SystemFieldsEntry{{}, std::nullopt, true, ++sequence_});
}

void PendingServerCopies::forgetAllSystemFields() {
  if (rollbackLog_) {
    rollbackLog_->push_back([before = systemFields_, wipe = wipe_](PendingServerCopies& copies) {
      copies.systemFields_ = before;
      copies.wipe_ = wipe;
    });
  }
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

std::optional<std::string> PendingServerCopies::baseRecord(std::string_view recordName) const {
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
    batch.baseRecordWrites.push_back({name, entry.bytes});
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
  for (const auto& write : baseRecordWrites) {
    copies.push_back({.recordName = write.recordName, .baseRecord = write.bytes});
  }
  persistence.writeServerCopies(copies);
}

} // namespace vantrel
