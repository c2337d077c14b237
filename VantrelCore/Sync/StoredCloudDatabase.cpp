#include "VantrelCore/Sync/StoredCloudDatabase.hpp"

#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"
#include "VantrelCore/Platform/UTF8.hpp"
#include "VantrelCore/Sync/CloudRecordArchive.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <variant>

namespace vantrel {
namespace {

constexpr const char* accountKey = "accountUserRecordName";
constexpr const char* generationKey = "zoneGeneration";
constexpr const char* userZoneName = "_defaultZone";

/// "_" and 32 lower-case hex digits, the shape of a user record name.
std::string newUserRecordName() {
  RandomUUIDGenerator uuids;
  std::string name = "_";
  for (const char c : uuids.uuidString()) {
    if (c != '-') {
      name += char(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return name;
}

/// The number after `number`. A counter reaches the largest number only in a damaged or forged file, never
/// by use, so that is what the call fails with (before anything is written), rather than wrapping around
/// into numbers already issued.
std::int64_t following(std::int64_t number, const std::string& counter) {
  if (number == std::numeric_limits<std::int64_t>::max()) {
    throw CloudError(CloudErrorCode::badDatabase,
                     "The " + counter + " is at its largest value; no further change can be numbered.");
  }
  return number + 1;
}

std::int64_t storedNumber(const std::optional<std::string>& text, const std::string& counter) {
  std::int64_t number = 0;
  if (text) {
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || end != text->data() + text->size() || number < 0) {
      throw CloudError(CloudErrorCode::badDatabase, "The stored " + counter + " is not a count.");
    }
  }
  return number;
}

std::string databaseCounter() {
  return "change sequence of the account's database";
}

std::string zoneCounter(const std::string& zoneName) {
  return "change sequence of zone " + zoneName;
}

/// Why a stored record cannot be served, or nothing when it can: its name or type is not text, its bytes
/// did not read back, or they read back as another record than the one kept under that name and type.
std::optional<std::string> unreadableReason(const std::string& recordName, const std::string& recordType,
                                            const std::optional<CloudRecord>& record,
                                            const std::optional<std::string>& unreadable,
                                            const std::string& zoneName) {
  if (!isValidUTF8(recordName)) {
    return "its name is not UTF-8 text";
  }
  if (!isValidUTF8(recordType)) {
    return "its type is not UTF-8 text";
  }
  if (unreadable) {
    return unreadable;
  }
  if (record && (record->recordID().recordName != recordName ||
                 record->recordID().zoneID.zoneName != zoneName || record->recordType() != recordType)) {
    return "its bytes hold the " + record->recordType() + " " + record->recordID().recordName + " of zone " +
           record->recordID().zoneID.zoneName;
  }
  return std::nullopt;
}

std::string unreadableText(const std::string& recordName, const std::string& reason) {
  return "The record " + repairedUTF8(recordName) + " cannot be read: " + reason;
}

std::string changeTag(std::int64_t generation, std::int64_t sequence) {
  return std::to_string(generation) + "-" + std::to_string(sequence);
}

/// Reads "prefix:n" or "prefix:n:m" tokens; nothing for anything else, which callers treat as expired.
std::optional<std::vector<std::int64_t>> parseToken(const CloudChangeToken& token, std::string_view prefix,
                                                    std::size_t count) {
  std::string_view text = token.data;
  if (!text.starts_with(prefix)) {
    return std::nullopt;
  }
  text.remove_prefix(prefix.size());
  std::vector<std::int64_t> numbers;
  while (numbers.size() < count) {
    if (text.empty() || text.front() != ':') {
      return std::nullopt;
    }
    text.remove_prefix(1);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0) {
      return std::nullopt;
    }
    numbers.push_back(number);
    text.remove_prefix(std::size_t(end - text.data()));
  }
  return text.empty() ? std::optional(numbers) : std::nullopt;
}

CloudChangeToken databaseToken(std::int64_t sequence) {
  return {"d:" + std::to_string(sequence)};
}

CloudChangeToken zoneToken(std::int64_t generation, std::int64_t sequence) {
  return {"z:" + std::to_string(generation) + ":" + std::to_string(sequence)};
}

/// Names of the records in the record's own zone that it points at with deleteSelf.
std::vector<std::string> deleteSelfTargets(const CloudRecord& record) {
  std::vector<std::string> targets;
  const auto add = [&](const CloudReference& reference) {
    if (reference.action == CloudReference::Action::deleteSelf &&
        reference.recordID.zoneID == record.recordID().zoneID) {
      targets.push_back(reference.recordID.recordName);
    }
  };
  for (const auto& key : record.allKeys()) {
    const CloudValue& value = *record.value(key);
    if (const auto* reference = std::get_if<CloudReference>(&value)) {
      add(*reference);
    } else if (const auto* references = std::get_if<std::vector<CloudReference>>(&value)) {
      std::ranges::for_each(*references, add);
    }
  }
  return targets;
}

/// A record with the client's values and parent, and no server bookkeeping yet.
CloudRecord recordWithValuesOf(const CloudRecord& client) {
  CloudRecord record(client.recordType(), client.recordID());
  for (const auto& key : client.allKeys()) {
    record.setValue(key, *client.value(key));
  }
  record.setParent(client.parent());
  return record;
}

using SaveOutcome = std::variant<CloudRecord, CloudError>;

} // namespace

/// The items of one modify that fall in one zone: checked together, then applied together or, when
/// atomic and one failed, not at all.
class StoredCloudDatabase::ZoneBatch {
public:
  ZoneBatch(StoredCloudDatabase& database, CloudStorageTransaction& storage, std::string zoneName)
      : database_(database), storage_(storage), zoneName_(std::move(zoneName)) {}

  void addSave(std::size_t index) { saves_.push_back(index); }
  void addDelete(std::size_t index) { deletes_.push_back(index); }

  void run(const CloudModifyRequest& request, std::vector<std::optional<SaveOutcome>>& saveOutcomes,
           std::vector<std::optional<std::optional<CloudError>>>& deleteOutcomes) {
    const std::string& owner = database_.user_;
    auto zone = storage_.zone(owner, zoneName_);
    if (!zone) {
      const CloudError error = database_.missingZoneError(storage_, zoneName_);
      for (const auto index : saves_) {
        saveOutcomes[index] = error;
      }
      for (const auto index : deletes_) {
        deleteOutcomes[index] = error;
      }
      return;
    }

    std::set<std::string> named;
    bool anyFailed = false;
    const auto duplicate = [&](const std::string& recordName) -> std::optional<CloudError> {
      if (named.insert(recordName).second) {
        return std::nullopt;
      }
      anyFailed = true;
      return CloudError(CloudErrorCode::invalidArguments,
                        "The record " + recordName + " appears more than once in one modify.");
    };
    for (const auto index : saves_) {
      const CloudRecord& client = request.recordsToSave[index];
      if (auto error = duplicate(client.recordID().recordName)) {
        saveOutcomes[index] = std::move(*error);
        continue;
      }
      saveOutcomes[index] = check(request.savePolicy, client);
      anyFailed = anyFailed || std::holds_alternative<CloudError>(*saveOutcomes[index]);
    }
    for (const auto index : deletes_) {
      deleteOutcomes[index] = duplicate(request.recordIDsToDelete[index].recordName);
    }

    if (anyFailed && request.atomically) {
      const CloudError notApplied(CloudErrorCode::batchRequestFailed);
      for (const auto index : saves_) {
        if (std::holds_alternative<CloudRecord>(*saveOutcomes[index])) {
          saveOutcomes[index] = notApplied;
        }
      }
      for (const auto index : deletes_) {
        if (!*deleteOutcomes[index]) {
          deleteOutcomes[index] = notApplied;
        }
      }
      return;
    }

    bool changed = false;
    for (const auto index : saves_) {
      if (auto* record = std::get_if<CloudRecord>(&*saveOutcomes[index])) {
        zone->sequence = following(zone->sequence, zoneCounter(zoneName_));
        stamp(*record, zone->sequence, zone->generation);
        storage_.putRecord(owner, zoneName_, *record, zone->sequence, deleteSelfTargets(*record));
        // The answer is the record as any later read gets it, its text repaired where it was not UTF-8.
        *record = unarchiveWholeCKRecord(record->wholeRecordData());
        changed = true;
      }
    }
    for (const auto index : deletes_) {
      if (!*deleteOutcomes[index]) {
        changed = deleteWithDependents(request.recordIDsToDelete[index].recordName, *zone) || changed;
      }
    }
    if (changed) {
      zone->databaseSequence = following(storage_.databaseSequence(owner), databaseCounter());
      storage_.setDatabaseSequence(owner, zone->databaseSequence);
      storage_.putZone(owner, zoneName_, *zone);
    }
  }

private:
  /// The record the save would leave on the server, or why it may not. Over a server record that cannot be
  /// read, only a save that needs none of its values goes through, and replaces it.
  SaveOutcome check(CloudSavePolicy policy, const CloudRecord& client) {
    const CloudRecordID& id = client.recordID();
    const std::string& name = id.recordName;
    if (!isValidUTF8(name) || !isValidUTF8(id.zoneID.zoneName) || !isValidUTF8(id.zoneID.ownerName) ||
        !isValidUTF8(client.recordType())) {
      // It could never be read back as sent: a reader repairs text, and a repaired ID names another record.
      return CloudError(CloudErrorCode::invalidArguments,
                        "The record " + repairedUTF8(name) + " has an ID or a type that is not UTF-8 text.");
    }
    const auto server = storage_.record(database_.user_, zoneName_, name);
    const auto& clientTag = client.systemFields().changeTag;
    if (!server) {
      if (policy == CloudSavePolicy::ifServerRecordUnchanged && clientTag) {
        return CloudError(CloudErrorCode::unknownItem, "The record " + name + " was deleted on the server.");
      }
      return recordWithValuesOf(client);
    }
    const auto unreadable =
        unreadableReason(name, server->recordType, server->record, server->unreadable, zoneName_);
    if (server->recordType != client.recordType() && isValidUTF8(server->recordType)) {
      return CloudError(CloudErrorCode::invalidArguments, "The record " + name + " is a " +
                                                              server->recordType + ", not a " +
                                                              client.recordType() + ".");
    }
    if (unreadable) {
      if (policy == CloudSavePolicy::allKeys || (policy == CloudSavePolicy::ifServerRecordUnchanged &&
                                                 clientTag && clientTag == server->changeTag)) {
        return recordWithValuesOf(client);
      }
      return CloudError(CloudErrorCode::badDatabase,
                        unreadableText(name, *unreadable) +
                            ". Only a save with its current change tag, or of all its keys, replaces it.");
    }
    if (policy == CloudSavePolicy::ifServerRecordUnchanged && clientTag != server->changeTag) {
      std::optional<CloudRecord> ancestor;
      if (clientTag) {
        ancestor = storage_.recordVersion(database_.user_, zoneName_, name, *clientTag);
      }
      return CloudError::serverRecordChanged(*server->record, client, std::move(ancestor));
    }
    if (policy == CloudSavePolicy::allKeys) {
      CloudRecord replaced = recordWithValuesOf(client);
      replaced.setSystemFields(server->record->systemFields());
      return replaced;
    }
    CloudRecord merged = *server->record;
    for (const auto& key : client.changedKeys()) {
      if (const CloudValue* value = client.value(key)) {
        merged.setValue(key, *value);
      } else {
        merged.removeValue(key);
      }
    }
    merged.setParent(client.parent());
    return merged;
  }

  /// Gives the saved record its new change tag and times, as the server keeps it.
  void stamp(CloudRecord& record, std::int64_t sequence, std::int64_t generation) const {
    const Date now = database_.clock_.now();
    CloudRecordSystemFields fields = record.systemFields();
    fields.changeTag = changeTag(generation, sequence);
    if (!fields.creationDate) {
      fields.creationDate = now;
      fields.creatorUserRecordName = database_.user_;
    }
    fields.modificationDate = now;
    fields.lastModifiedUserRecordName = database_.user_;
    record.setSystemFields(std::move(fields));
    record.clearChangedKeys();
  }

  /// Deletes the record and, through deleteSelf references, every record that depends on it. Deleting
  /// a record that is already gone succeeds: the server holds what the client asked for.
  bool deleteWithDependents(const std::string& recordName, CloudStoredZone& zone) {
    bool changed = false;
    std::vector<std::string> pending{recordName};
    while (!pending.empty()) {
      const std::string name = std::move(pending.back());
      pending.pop_back();
      // An unreadable record goes like any other: its type is kept beside its bytes.
      const auto stored = storage_.record(database_.user_, zoneName_, name);
      if (!stored) {
        continue;
      }
      auto dependents = storage_.deleteSelfReferrers(database_.user_, zoneName_, name);
      zone.sequence = following(zone.sequence, zoneCounter(zoneName_));
      storage_.removeRecord(database_.user_, zoneName_, name, stored->recordType, zone.sequence);
      pending.insert(pending.end(), std::make_move_iterator(dependents.begin()),
                     std::make_move_iterator(dependents.end()));
      changed = true;
    }
    return changed;
  }

  StoredCloudDatabase& database_;
  CloudStorageTransaction& storage_;
  std::string zoneName_;
  std::vector<std::size_t> saves_;
  std::vector<std::size_t> deletes_;
};

StoredCloudDatabase::StoredCloudDatabase(CloudStorage& storage, const Clock& clock,
                                         std::optional<std::string> userRecordName)
    : storage_(storage), clock_(clock) {
  if (userRecordName) {
    user_ = std::move(*userRecordName);
    return;
  }
  storage_.transact([&](CloudStorageTransaction& transaction) {
    auto account = transaction.value(accountKey);
    if (!account) {
      account = newUserRecordName();
      transaction.setValue(accountKey, *account);
    }
    user_ = *account;
  });
}

void StoredCloudDatabase::signIn(std::string userRecordName) {
  user_ = std::move(userRecordName);
  signedIn_ = true;
}

void StoredCloudDatabase::signOut() {
  signedIn_ = false;
}

void StoredCloudDatabase::requireAccount() const {
  if (!signedIn_) {
    throw CloudError(CloudErrorCode::notAuthenticated);
  }
}

std::string StoredCloudDatabase::privateZoneName(CloudDatabaseScope scope,
                                                 const CloudRecordZoneID& zoneID) const {
  if (scope == CloudDatabaseScope::sharedDatabase) {
    throw CloudError(CloudErrorCode::zoneNotFound, "No zone is shared with this account.");
  }
  if (zoneID.ownerName != CloudRecordZoneID::defaultOwnerName && zoneID.ownerName != user_) {
    throw CloudError(CloudErrorCode::zoneNotFound, "The zone " + zoneID.zoneName + " of " + zoneID.ownerName +
                                                       " is not in this account's private database.");
  }
  return zoneID.zoneName;
}

CloudError StoredCloudDatabase::missingZoneError(CloudStorageTransaction& storage,
                                                 const std::string& zoneName) const {
  const auto deletions = storage.zoneDeletions(user_, 0);
  const auto last =
      std::find_if(deletions.rbegin(), deletions.rend(),
                   [&](const CloudStoredZoneDeletion& deletion) { return deletion.zoneName == zoneName; });
  if (last != deletions.rend() && last->reason == CloudZoneDeletionReason::purged) {
    return CloudError(CloudErrorCode::userDeletedZone);
  }
  return CloudError(CloudErrorCode::zoneNotFound, "The zone " + zoneName + " does not exist.");
}

CloudAccountStatus StoredCloudDatabase::accountStatus() {
  return signedIn_ ? CloudAccountStatus::available : CloudAccountStatus::noAccount;
}

CloudRecordID StoredCloudDatabase::fetchUserRecordID() {
  requireAccount();
  return CloudRecordID{user_, CloudRecordZoneID{userZoneName}};
}

std::vector<CloudRecordZoneID> StoredCloudDatabase::fetchAllRecordZones(CloudDatabaseScope scope) {
  requireAccount();
  std::vector<CloudRecordZoneID> zones;
  if (scope == CloudDatabaseScope::privateDatabase) {
    storage_.transact([&](CloudStorageTransaction& storage) {
      for (auto& name : storage.zoneNames(user_)) {
        zones.push_back(CloudRecordZoneID{std::move(name)});
      }
    });
  }
  return zones;
}

CloudRecordZoneID StoredCloudDatabase::fetchRecordZone(CloudDatabaseScope scope,
                                                       const CloudRecordZoneID& zoneID) {
  requireAccount();
  const std::string name = privateZoneName(scope, zoneID);
  storage_.transact([&](CloudStorageTransaction& storage) {
    if (!storage.zone(user_, name)) {
      throw missingZoneError(storage, name);
    }
  });
  return CloudRecordZoneID{name};
}

void StoredCloudDatabase::saveRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) {
  requireAccount();
  if (scope == CloudDatabaseScope::sharedDatabase) {
    throw CloudError(CloudErrorCode::permissionFailure, "Zones cannot be made in the shared database.");
  }
  const std::string name = privateZoneName(scope, zoneID);
  storage_.transact([&](CloudStorageTransaction& storage) {
    if (storage.zone(user_, name)) {
      return;
    }
    const std::string generationCounter = "zone generation counter";
    const std::int64_t generation =
        following(storedNumber(storage.value(generationKey), generationCounter), generationCounter);
    storage.setValue(generationKey, std::to_string(generation));
    const std::int64_t databaseSequence = following(storage.databaseSequence(user_), databaseCounter());
    storage.setDatabaseSequence(user_, databaseSequence);
    storage.putZone(user_, name,
                    CloudStoredZone{.generation = generation, .databaseSequence = databaseSequence});
  });
}

void StoredCloudDatabase::deleteRecordZone(CloudDatabaseScope scope, const CloudRecordZoneID& zoneID) {
  requireAccount();
  privateZoneName(scope, zoneID);
  removeZone(zoneID, CloudZoneDeletionReason::deleted);
}

void StoredCloudDatabase::removeZone(const CloudRecordZoneID& zoneID, CloudZoneDeletionReason reason) {
  const std::string name = privateZoneName(CloudDatabaseScope::privateDatabase, zoneID);
  storage_.transact([&](CloudStorageTransaction& storage) {
    if (!storage.zone(user_, name)) {
      throw CloudError(CloudErrorCode::zoneNotFound, "The zone " + name + " does not exist.");
    }
    const std::int64_t databaseSequence = following(storage.databaseSequence(user_), databaseCounter());
    storage.setDatabaseSequence(user_, databaseSequence);
    storage.deleteZone(user_, CloudStoredZoneDeletion{name, reason, databaseSequence});
  });
}

CloudRecord StoredCloudDatabase::fetchRecord(CloudDatabaseScope scope, const CloudRecordID& recordID) {
  requireAccount();
  const std::string zoneName = privateZoneName(scope, recordID.zoneID);
  std::optional<CloudStoredRecord> stored;
  storage_.transact([&](CloudStorageTransaction& storage) {
    if (!storage.zone(user_, zoneName)) {
      throw missingZoneError(storage, zoneName);
    }
    stored = storage.record(user_, zoneName, recordID.recordName);
  });
  if (!stored) {
    throw CloudError(CloudErrorCode::unknownItem, "The record " + recordID.recordName + " does not exist.");
  }
  if (const auto unreadable = unreadableReason(recordID.recordName, stored->recordType, stored->record,
                                               stored->unreadable, zoneName)) {
    throw CloudError(CloudErrorCode::badDatabase, unreadableText(recordID.recordName, *unreadable));
  }
  return std::move(*stored->record);
}

CloudModifyResult StoredCloudDatabase::modifyRecords(CloudDatabaseScope scope,
                                                     const CloudModifyRequest& request) {
  requireAccount();
  const std::size_t items = request.recordsToSave.size() + request.recordIDsToDelete.size();
  if (items > maximumItemsPerModify) {
    throw CloudError(CloudErrorCode::limitExceeded,
                     "A modify may carry at most 400 items; this one carries " + std::to_string(items) + ".");
  }
  std::vector<std::optional<SaveOutcome>> saveOutcomes(request.recordsToSave.size());
  std::vector<std::optional<std::optional<CloudError>>> deleteOutcomes(request.recordIDsToDelete.size());
  storage_.transact([&](CloudStorageTransaction& storage) {
    std::fill(saveOutcomes.begin(), saveOutcomes.end(), std::nullopt);
    std::fill(deleteOutcomes.begin(), deleteOutcomes.end(), std::nullopt);
    std::map<std::string, ZoneBatch> zones;
    const auto batchFor = [&](const CloudRecordZoneID& zoneID) -> ZoneBatch& {
      const std::string name = privateZoneName(scope, zoneID);
      return zones.try_emplace(name, *this, storage, name).first->second;
    };
    for (std::size_t index = 0; index < request.recordsToSave.size(); ++index) {
      try {
        batchFor(request.recordsToSave[index].recordID().zoneID).addSave(index);
      } catch (const CloudError& error) {
        saveOutcomes[index] = error;
      }
    }
    for (std::size_t index = 0; index < request.recordIDsToDelete.size(); ++index) {
      try {
        batchFor(request.recordIDsToDelete[index].zoneID).addDelete(index);
      } catch (const CloudError& error) {
        deleteOutcomes[index] = error;
      }
    }
    for (auto& [name, batch] : zones) {
      batch.run(request, saveOutcomes, deleteOutcomes);
    }
  });

  CloudModifyResult result;
  for (std::size_t index = 0; index < request.recordsToSave.size(); ++index) {
    result.saveResults.emplace_back(request.recordsToSave[index].recordID(), std::move(*saveOutcomes[index]));
  }
  for (std::size_t index = 0; index < request.recordIDsToDelete.size(); ++index) {
    result.deleteResults.emplace_back(request.recordIDsToDelete[index], std::move(*deleteOutcomes[index]));
  }
  return result;
}

CloudDatabaseChanges StoredCloudDatabase::fetchDatabaseChanges(CloudDatabaseScope scope,
                                                               const std::optional<CloudChangeToken>& since) {
  requireAccount();
  CloudDatabaseChanges changes;
  if (scope == CloudDatabaseScope::sharedDatabase) {
    changes.changeToken = databaseToken(0);
    return changes;
  }
  storage_.transact([&](CloudStorageTransaction& storage) {
    const std::int64_t current = storage.databaseSequence(user_);
    std::int64_t from = 0;
    if (since) {
      const auto numbers = parseToken(*since, "d", 1);
      if (!numbers || numbers->front() > current) {
        throw CloudError(CloudErrorCode::changeTokenExpired);
      }
      from = numbers->front();
    }
    // A zone deleted more than once since the token is reported once, with its latest reason.
    std::map<std::string, CloudZoneDeletionReason> deletions;
    for (const auto& deletion : storage.zoneDeletions(user_, from)) {
      deletions[deletion.zoneName] = deletion.reason;
    }
    for (const auto& [name, reason] : deletions) {
      changes.deletedZones.push_back(CloudZoneDeletion{CloudRecordZoneID{name}, reason});
    }
    for (auto& name : storage.zoneNames(user_)) {
      if (storage.zone(user_, name)->databaseSequence > from) {
        changes.modifiedZoneIDs.push_back(CloudRecordZoneID{std::move(name)});
      }
    }
    changes.changeToken = databaseToken(current);
  });
  return changes;
}

CloudZoneChanges StoredCloudDatabase::fetchZoneChanges(CloudDatabaseScope scope,
                                                       const CloudRecordZoneID& zoneID,
                                                       const std::optional<CloudChangeToken>& since,
                                                       std::size_t resultsLimit) {
  requireAccount();
  const std::string zoneName = privateZoneName(scope, zoneID);
  const std::size_t limit = resultsLimit == 0 ? std::numeric_limits<std::size_t>::max() - 1 : resultsLimit;
  CloudZoneChanges changes;
  storage_.transact([&](CloudStorageTransaction& storage) {
    const auto zone = storage.zone(user_, zoneName);
    if (!zone) {
      throw missingZoneError(storage, zoneName);
    }
    std::int64_t from = 0;
    if (since) {
      const auto numbers = parseToken(*since, "z", 2);
      if (!numbers || (*numbers)[0] != zone->generation || (*numbers)[1] < zone->oldestServedSequence ||
          (*numbers)[1] > zone->sequence) {
        throw CloudError(CloudErrorCode::changeTokenExpired);
      }
      from = (*numbers)[1];
    }
    auto stored = storage.changesSince(user_, zoneName, from, limit + 1);
    changes.moreComing = stored.size() > limit;
    if (changes.moreComing) {
      stored.resize(limit);
    }
    for (auto& change : stored) {
      if (const auto unreadable = unreadableReason(change.recordName, change.recordType, change.record,
                                                   change.unreadable, zoneName)) {
        // Named as far as it can be: a name that is not text is shown repaired, a type that is not is
        // unknown.
        changes.unreadableRecords.push_back(CloudUnreadableRecord{
            CloudRecordID{repairedUTF8(change.recordName), CloudRecordZoneID{zoneName}},
            isValidUTF8(change.recordType) ? std::optional(change.recordType) : std::nullopt,
            unreadableText(change.recordName, *unreadable)});
      } else if (change.record) {
        changes.modifiedRecords.push_back(std::move(*change.record));
      } else {
        changes.deletedRecords.push_back(CloudDeletedRecord{
            CloudRecordID{change.recordName, CloudRecordZoneID{zoneName}}, change.recordType});
      }
    }
    changes.changeToken =
        zoneToken(zone->generation, changes.moreComing ? stored.back().sequence : zone->sequence);
  });
  return changes;
}

namespace {

CloudError sharingUnavailable() {
  return CloudError(CloudErrorCode::internalError, "Sharing is not available in this cloud database yet.");
}

} // namespace

std::int64_t StoredCloudDatabase::changeCounter() {
  requireAccount();
  std::int64_t counter = 0;
  storage_.transact([&](CloudStorageTransaction& storage) { counter = storage.databaseSequence(user_); });
  return counter;
}

CloudShare StoredCloudDatabase::saveShare(const CloudShare&) {
  requireAccount();
  throw sharingUnavailable();
}

CloudShare StoredCloudDatabase::fetchShare(const std::string&) {
  requireAccount();
  throw sharingUnavailable();
}

void StoredCloudDatabase::acceptShare(const CloudShare&) {
  requireAccount();
  throw sharingUnavailable();
}

} // namespace vantrel
