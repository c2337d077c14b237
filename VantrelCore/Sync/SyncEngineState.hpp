#pragma once

#include "VantrelCore/Sync/CloudChangeToken.hpp"
#include "VantrelCore/Sync/PendingRecordZoneChange.hpp"

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

  /// Compact JSON of everything above.
  std::string serialized() const;
  /// Throws DecodingError, naming where, for bytes that serialized() did not write.
  static SyncEngineState deserialize(std::string_view data);

  friend bool operator==(const SyncEngineState&, const SyncEngineState&) = default;

private:
  std::vector<PendingRecordZoneChange> recordChanges_;
  /// Position of each record's change in the list, so that adding and removing stay cheap.
  std::map<CloudRecordID, std::size_t> recordPositions_;
  std::vector<PendingDatabaseChange> databaseChanges_;
  std::optional<CloudChangeToken> databaseChangeToken_;
  std::map<CloudRecordZoneID, CloudChangeToken> zoneChangeTokens_;
  std::optional<std::string> userRecordName_;
};

} // namespace vantrel
