#pragma once

#include "VantrelCore/Sync/SyncEngine.hpp"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vantrel::testing {

/// A device as a sync engine's delegate sees it: records kept by name, edited here, sent through the
/// engine, and merged on conflict (the server's record with this device's changed keys on top).
class SyncTestDevice : public SyncEngineDelegate, public std::enable_shared_from_this<SyncTestDevice> {
public:
  static inline const CloudRecordZoneID zone{"VantrelZone"};

  static std::shared_ptr<SyncTestDevice> make(CloudDatabase& database,
                                              std::optional<SyncEngineState> state = {}) {
    auto device = std::make_shared<SyncTestDevice>();
    device->engine = std::make_unique<SyncEngine>(SyncEngine::Configuration{
        .database = database, .state = std::move(state), .delegate = device->weak_from_this()});
    return device;
  }

  void edit(const std::string& name, const std::string& key, CloudValue value) {
    auto [record, inserted] = records.try_emplace(name, "Task", CloudRecordID{name, zone});
    record->second.setValue(key, std::move(value));
    const auto change = PendingRecordZoneChange::save(record->second.recordID());
    engine->add(std::span(&change, 1));
  }
  void remove(const std::string& name) {
    records.erase(name);
    const auto change = PendingRecordZoneChange::remove(CloudRecordID{name, zone});
    engine->add(std::span(&change, 1));
  }
  /// Names and values only: what two devices must agree on.
  std::map<std::string, std::vector<std::pair<std::string, CloudValue>>> contents() const {
    std::map<std::string, std::vector<std::pair<std::string, CloudValue>>> values;
    for (const auto& [name, record] : records) {
      for (const auto& key : record.allKeys()) {
        values[name].emplace_back(key, *record.value(key));
      }
    }
    return values;
  }

  void handleEvent(const SyncEngineEvent& event, SyncEngine& sender) override {
    events.push_back(event);
    eventNames.emplace_back(syncEngineEventName(event));
    if (const auto* fetched = std::get_if<FetchedRecordZoneChangesEvent>(&event)) {
      for (const auto& record : fetched->modifications) {
        if (!sender.state().pendingChange(record.recordID())) {
          records.insert_or_assign(record.recordID().recordName, record);
        }
      }
      for (const auto& deleted : fetched->deletions) {
        if (!sender.state().pendingChange(deleted.recordID)) {
          records.erase(deleted.recordID.recordName);
        }
      }
    } else if (const auto* sent = std::get_if<SentRecordZoneChangesEvent>(&event)) {
      for (const auto& record : sent->savedRecords) {
        records.insert_or_assign(record.recordID().recordName, record);
      }
      for (const auto& [record, error] : sent->failedRecordSaves) {
        failedSaves.push_back(error.code());
        handleFailedSave(record, error, sender);
      }
    } else if (const auto* fetchedZones = std::get_if<FetchedDatabaseChangesEvent>(&event)) {
      if (!fetchedZones->deletions.empty()) {
        records.clear();
      }
    }
  }

  std::optional<RecordZoneChangeBatch> nextRecordZoneChangeBatch(const SendChangesContext&,
                                                                 SyncEngine& sender) override {
    return RecordZoneChangeBatch::make(sender.state().pendingRecordZoneChanges(),
                                       [&](const CloudRecordID& recordID) -> std::optional<CloudRecord> {
                                         const auto found = records.find(recordID.recordName);
                                         return found == records.end() ? std::nullopt
                                                                       : std::optional(found->second);
                                       });
  }

  std::unique_ptr<SyncEngine> engine;
  std::map<std::string, CloudRecord> records;
  std::vector<SyncEngineEvent> events;
  std::vector<std::string> eventNames;
  std::vector<CloudErrorCode> failedSaves;

private:
  void handleFailedSave(const CloudRecord& sent, const CloudError& error, SyncEngine& sender) {
    const auto& name = sent.recordID().recordName;
    if (error.code() == CloudErrorCode::serverRecordChanged && error.serverRecord()) {
      CloudRecord merged = *error.serverRecord();
      for (const auto& key : sent.changedKeys()) {
        if (const auto* value = sent.value(key)) {
          merged.setValue(key, *value);
        }
      }
      records.insert_or_assign(name, std::move(merged));
      const auto change = PendingRecordZoneChange::save(sent.recordID());
      sender.add(std::span(&change, 1));
    } else if (error.code() == CloudErrorCode::unknownItem) {
      records.erase(name);
    }
  }
};

} // namespace vantrel::testing
