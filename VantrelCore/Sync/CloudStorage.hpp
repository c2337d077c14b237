#pragma once

#include "VantrelCore/Sync/CloudDatabaseChanges.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

/// A zone as the server keeps it.
struct CloudStoredZone {
  /// Differs between a zone and one created later under the same name, so that tokens of the old one
  /// are known to be stale.
  std::int64_t generation = 0;
  /// The sequence number of the zone's latest change; each change takes the next one.
  std::int64_t sequence = 0;
  /// Tokens before this sequence number are no longer served.
  std::int64_t oldestServedSequence = 0;
  /// The owner's database sequence number at the zone's latest change.
  std::int64_t databaseSequence = 0;

  friend bool operator==(const CloudStoredZone&, const CloudStoredZone&) = default;
};

struct CloudStoredZoneDeletion {
  std::string zoneName{};
  CloudZoneDeletionReason reason = CloudZoneDeletionReason::deleted;
  /// The owner's database sequence number of the deletion.
  std::int64_t databaseSequence = 0;

  friend bool operator==(const CloudStoredZoneDeletion&, const CloudStoredZoneDeletion&) = default;
};

/// A record's latest state in a zone's change feed: the record, or nothing when it was deleted or its
/// bytes no longer read back as a record (then `unreadable` says why).
struct CloudStoredChange {
  std::int64_t sequence = 0;
  std::string recordName{};
  std::string recordType{};
  std::optional<CloudRecord> record{};
  std::optional<std::string> unreadable{};
};

/// A record's current version. Its type and change tag are kept beside its bytes, so they are known even
/// when the bytes no longer read back as a record: then `record` is empty and `unreadable` says why.
struct CloudStoredRecord {
  std::string recordType{};
  std::optional<std::string> changeTag{};
  std::optional<CloudRecord> record{};
  std::optional<std::string> unreadable{};
};

/// The reads and writes of one transaction on the server's storage. Every call is about the data of one
/// owner (a user record name); `zoneName` names one of that owner's zones, which the caller has checked
/// exists. Failures of the storage itself are thrown as CloudError (badDatabase, zoneBusy, ...); a record
/// whose bytes do not read back is not one of them: it is reported as data, so that it holds back no other.
class CloudStorageTransaction {
public:
  virtual ~CloudStorageTransaction() = default;

  /// Small values the server keeps for itself (its account, counters), by key.
  virtual std::optional<std::string> value(const std::string& key) = 0;
  virtual void setValue(const std::string& key, const std::string& value) = 0;

  virtual std::int64_t databaseSequence(const std::string& owner) = 0;
  virtual void setDatabaseSequence(const std::string& owner, std::int64_t sequence) = 0;

  /// The owner's zones, by name.
  virtual std::vector<std::string> zoneNames(const std::string& owner) = 0;
  virtual std::optional<CloudStoredZone> zone(const std::string& owner, const std::string& zoneName) = 0;
  virtual void putZone(const std::string& owner, const std::string& zoneName,
                       const CloudStoredZone& zone) = 0;
  /// Removes the zone with its records, deletions, versions and references, and keeps `deletion`.
  virtual void deleteZone(const std::string& owner, const CloudStoredZoneDeletion& deletion) = 0;
  /// Kept zone deletions after database sequence `since`, oldest first.
  virtual std::vector<CloudStoredZoneDeletion> zoneDeletions(const std::string& owner,
                                                             std::int64_t since) = 0;

  /// The current version of a record; nothing when it does not exist or was deleted.
  virtual std::optional<CloudStoredRecord> record(const std::string& owner, const std::string& zoneName,
                                                  const std::string& recordName) = 0;
  /// Makes `record` the current version (also of a record deleted before) at `sequence`, keeps it under
  /// its change tag as one of the record's recent versions, and replaces the record's deleteSelf targets.
  virtual void putRecord(const std::string& owner, const std::string& zoneName, const CloudRecord& record,
                         std::int64_t sequence, const std::vector<std::string>& deleteSelfTargets) = 0;
  /// One of the record's recent versions, by its change tag; nothing once it has been pruned, or when its
  /// bytes no longer read back (a version only ever serves as a conflict's ancestor, which may be absent).
  virtual std::optional<CloudRecord> recordVersion(const std::string& owner, const std::string& zoneName,
                                                   const std::string& recordName,
                                                   const std::string& changeTag) = 0;
  /// Marks the record deleted at `sequence` (it stays in the change feed as a deletion of `recordType`)
  /// and drops its versions and deleteSelf targets.
  virtual void removeRecord(const std::string& owner, const std::string& zoneName,
                            const std::string& recordName, const std::string& recordType,
                            std::int64_t sequence) = 0;
  /// Current records of the zone that hold a deleteSelf reference to `target`.
  virtual std::vector<std::string> deleteSelfReferrers(const std::string& owner, const std::string& zoneName,
                                                       const std::string& target) = 0;
  /// Records saved or deleted in the zone after sequence `since`, each once in its latest state, by
  /// ascending sequence, at most `limit`.
  virtual std::vector<CloudStoredChange> changesSince(const std::string& owner, const std::string& zoneName,
                                                      std::int64_t since, std::size_t limit) = 0;
};

/// Where a server keeps every account's zones and records.
class CloudStorage {
public:
  /// Recent versions kept per record, as ancestors for conflicts; older ones are pruned.
  static constexpr std::size_t keptVersionsPerRecord = 8;

  virtual ~CloudStorage() = default;

  /// Runs `work` as one transaction: no other writer, in this process or another, interleaves with it;
  /// its writes land together when it returns, and none of them when it throws (the exception passes).
  virtual void transact(const std::function<void(CloudStorageTransaction&)>& work) = 0;
};

} // namespace vantrel
