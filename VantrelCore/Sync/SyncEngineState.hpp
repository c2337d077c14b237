#pragma once

#include "VantrelCore/JSON/RapidJSON.hpp"
#include "VantrelCore/Sync/CloudChangeToken.hpp"
#include "VantrelCore/Sync/PendingRecordZoneChange.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// What a sync engine must remember between runs: the changes waiting to be sent, where it stands in the
/// change feeds, and whose account that was.
///
/// Each list holds one change per record (or zone), in the order they were first added: adding a change
/// for a record already listed replaces the listed change in its place.
class SyncEngineState {
public:
  const std::vector<PendingRecordZoneChange>& pendingRecordZoneChanges() const { return recordChanges_; }
  const std::vector<PendingDatabaseChange>& pendingDatabaseChanges() const { return databaseChanges_; }
  /// Whether a change of the record is waiting, and which.
  std::optional<PendingRecordZoneChange::Kind> pendingChange(const CloudRecordID& recordID) const;
  /// A number that changes whenever the record's change is added again: a send compares it before and
  /// after, so that a change added while the send was under way is not taken for the one that was sent.
  /// Zero when nothing waits for the record. Not kept across runs.
  std::uint64_t changeGeneration(const CloudRecordID& recordID) const;

  void add(std::span<const PendingRecordZoneChange> changes);
  /// Removes the listed changes that are exactly these (a save does not remove a pending delete).
  void remove(std::span<const PendingRecordZoneChange> changes);
  void add(std::span<const PendingDatabaseChange> changes);
  void remove(std::span<const PendingDatabaseChange> changes);

  const std::optional<CloudChangeToken>& databaseChangeToken() const { return databaseChangeToken_; }
  void setDatabaseChangeToken(std::optional<CloudChangeToken> token) {
    databaseChangeToken_ = std::move(token);
  }
  std::optional<CloudChangeToken> zoneChangeToken(const CloudRecordZoneID& zoneID) const;
  void setZoneChangeToken(const CloudRecordZoneID& zoneID, std::optional<CloudChangeToken> token);
  const std::optional<std::string>& userRecordName() const { return userRecordName_; }
  void setUserRecordName(std::optional<std::string> name) { userRecordName_ = std::move(name); }
  /// Forgets the tokens and every pending change; the account stays as set.
  void reset();
  /// Forgets where the change feeds stand, keeping the pending changes: the next fetch reads everything.
  void forgetChangeTokens();
  bool hasChangeTokens() const { return databaseChangeToken_.has_value() || !zoneChangeTokens_.empty(); }

  /// Compact JSON of everything above.
  std::string serialized() const;
  /// Throws DecodingError, naming where, for bytes that serialized() did not write.
  static SyncEngineState deserialize(std::string_view data);
  /// The same for the object serialized() wrote, already parsed as part of a larger file.
  static SyncEngineState decode(const rapidjson::Value& object);

  /// The same pending changes, tokens and account.
  friend bool operator==(const SyncEngineState& left, const SyncEngineState& right);

private:
  std::vector<PendingRecordZoneChange> recordChanges_;
  struct Slot {
    /// Where the record's change is in the list, so that adding and removing stay cheap.
    std::size_t position = 0;
    std::uint64_t generation = 0;
  };
  std::map<CloudRecordID, Slot> recordSlots_;
  std::uint64_t lastGeneration_ = 0;
  std::vector<PendingDatabaseChange> databaseChanges_;
  std::optional<CloudChangeToken> databaseChangeToken_;
  std::map<CloudRecordZoneID, CloudChangeToken> zoneChangeTokens_;
  std::optional<std::string> userRecordName_;
};

} // namespace vantrel
