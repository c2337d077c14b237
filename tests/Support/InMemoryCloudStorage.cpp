#include "tests/Support/InMemoryCloudStorage.hpp"

#include "VantrelCore/Sync/CloudKitRecordError.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vantrel::testing {
namespace {

/// The record the bytes hold, in `stored.record`, or why they hold none, in `stored.unreadable`.
template <class Stored> void readRecord(Stored& stored, const std::string& data) {
  try {
    stored.record = unarchiveWholeCKRecord(data);
  } catch (const CloudKitRecordError& error) {
    stored.unreadable = error.what();
  }
}

} // namespace

class InMemoryCloudStorage::Transaction : public CloudStorageTransaction {
public:
  explicit Transaction(State& state) : state_(state) {}

  std::optional<std::string> value(const std::string& key) override {
    const auto found = state_.values.find(key);
    return found == state_.values.end() ? std::nullopt : std::optional(found->second);
  }
  void setValue(const std::string& key, const std::string& value) override { state_.values[key] = value; }

  std::int64_t databaseSequence(const std::string& owner) override {
    return state_.owners[owner].databaseSequence;
  }
  void setDatabaseSequence(const std::string& owner, std::int64_t sequence) override {
    state_.owners[owner].databaseSequence = sequence;
  }

  std::vector<std::string> zoneNames(const std::string& owner) override {
    std::vector<std::string> names;
    for (const auto& [name, zone] : state_.owners[owner].zones) {
      names.push_back(name);
    }
    return names;
  }
  std::optional<CloudStoredZone> zone(const std::string& owner, const std::string& zoneName) override {
    const auto& zones = state_.owners[owner].zones;
    const auto found = zones.find(zoneName);
    return found == zones.end() ? std::nullopt : std::optional(found->second.stored);
  }
  void putZone(const std::string& owner, const std::string& zoneName, const CloudStoredZone& zone) override {
    state_.owners[owner].zones[zoneName].stored = zone;
  }
  void deleteZone(const std::string& owner, const CloudStoredZoneDeletion& deletion) override {
    state_.owners[owner].zones.erase(deletion.zoneName);
    state_.owners[owner].deletions.push_back(deletion);
  }
  std::vector<CloudStoredZoneDeletion> zoneDeletions(const std::string& owner, std::int64_t since) override {
    std::vector<CloudStoredZoneDeletion> deletions;
    std::ranges::copy_if(
        state_.owners[owner].deletions, std::back_inserter(deletions),
        [&](const CloudStoredZoneDeletion& deletion) { return deletion.databaseSequence > since; });
    return deletions;
  }

  std::optional<CloudStoredRecord> record(const std::string& owner, const std::string& zoneName,
                                          const std::string& recordName) override {
    const auto* found = entry(owner, zoneName, recordName);
    if (!found || !found->current) {
      return std::nullopt;
    }
    CloudStoredRecord stored{.recordType = found->recordType, .changeTag = found->current->changeTag};
    readRecord(stored, found->current->data);
    return stored;
  }
  void putRecord(const std::string& owner, const std::string& zoneName, const CloudRecord& record,
                 std::int64_t sequence, const std::vector<std::string>& deleteSelfTargets) override {
    Entry& stored = zoneEntries(owner, zoneName)[record.recordID().recordName];
    stored.recordType = record.recordType();
    stored.sequence = sequence;
    stored.current = Version{record.systemFields().changeTag, record.wholeRecordData()};
    stored.deleteSelfTargets = deleteSelfTargets;
    stored.versions.push_back(*stored.current);
    if (stored.versions.size() > keptVersionsPerRecord) {
      stored.versions.erase(stored.versions.begin());
    }
  }
  std::optional<CloudRecord> recordVersion(const std::string& owner, const std::string& zoneName,
                                           const std::string& recordName,
                                           const std::string& changeTag) override {
    const auto* found = entry(owner, zoneName, recordName);
    if (!found) {
      return std::nullopt;
    }
    const auto version = std::ranges::find(found->versions, std::optional(changeTag), &Version::changeTag);
    if (version == found->versions.end()) {
      return std::nullopt;
    }
    CloudStoredRecord stored;
    readRecord(stored, version->data);
    return std::move(stored.record);
  }
  void removeRecord(const std::string& owner, const std::string& zoneName, const std::string& recordName,
                    const std::string& recordType, std::int64_t sequence) override {
    zoneEntries(owner, zoneName)[recordName] = Entry{.recordType = recordType, .sequence = sequence};
  }
  std::vector<std::string> deleteSelfReferrers(const std::string& owner, const std::string& zoneName,
                                               const std::string& target) override {
    std::vector<std::string> referrers;
    for (const auto& [name, stored] : zoneEntries(owner, zoneName)) {
      if (stored.current &&
          std::ranges::find(stored.deleteSelfTargets, target) != stored.deleteSelfTargets.end()) {
        referrers.push_back(name);
      }
    }
    return referrers;
  }
  std::vector<CloudStoredChange> changesSince(const std::string& owner, const std::string& zoneName,
                                              std::int64_t since, std::size_t limit) override {
    std::vector<CloudStoredChange> changes;
    for (const auto& [name, stored] : zoneEntries(owner, zoneName)) {
      if (stored.sequence > since) {
        changes.push_back(CloudStoredChange{stored.sequence, name, stored.recordType});
      }
    }
    std::ranges::sort(changes, {}, &CloudStoredChange::sequence);
    if (changes.size() > limit) {
      changes.resize(limit);
    }
    for (auto& change : changes) {
      if (const auto& current = entry(owner, zoneName, change.recordName)->current) {
        readRecord(change, current->data);
      }
    }
    return changes;
  }

private:
  std::map<std::string, Entry>& zoneEntries(const std::string& owner, const std::string& zoneName) {
    return state_.owners[owner].zones.at(zoneName).entries;
  }
  const Entry* entry(const std::string& owner, const std::string& zoneName, const std::string& recordName) {
    const auto& entries = zoneEntries(owner, zoneName);
    const auto found = entries.find(recordName);
    return found == entries.end() ? nullptr : &found->second;
  }

  State& state_;
};

void InMemoryCloudStorage::transact(const std::function<void(CloudStorageTransaction&)>& work) {
  const std::lock_guard lock(mutex_);
  State draft = state_;
  Transaction transaction(draft);
  work(transaction);
  state_ = std::move(draft);
}

void InMemoryCloudStorage::replaceRecordData(const std::string& owner, const std::string& zoneName,
                                             const std::string& recordName, std::string data) {
  const std::lock_guard lock(mutex_);
  auto& entries = state_.owners.at(owner).zones.at(zoneName).entries;
  const auto found = entries.find(recordName);
  if (found == entries.end() || !found->second.current) {
    throw std::logic_error("InMemoryCloudStorage: no current record " + recordName + " to replace");
  }
  found->second.current->data = std::move(data);
}

void InMemoryCloudStorage::expireChangeTokens() {
  const std::lock_guard lock(mutex_);
  for (auto& [name, owner] : state_.owners) {
    for (auto& [zoneName, zone] : owner.zones) {
      // Skipping a sequence number puts every token issued so far below the oldest one served, while a
      // fresh fetch still gets a token that is served.
      zone.stored.oldestServedSequence = ++zone.stored.sequence;
    }
  }
}

} // namespace vantrel::testing
