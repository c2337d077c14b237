#pragma once

#include "VantrelCore/Sync/CloudChangeToken.hpp"
#include "VantrelCore/Sync/CloudRecordZoneID.hpp"

#include <vector>

namespace vantrel {

/// Why a zone went away.
enum class CloudZoneDeletionReason {
  /// An app deleted it.
  deleted,
  /// The user deleted the app's data in the account settings.
  purged,
  /// The account's end-to-end encrypted data was reset; the zone's contents are gone.
  encryptedDataReset,
};

struct CloudZoneDeletion {
  CloudRecordZoneID zoneID{};
  CloudZoneDeletionReason reason = CloudZoneDeletionReason::deleted;

  friend bool operator==(const CloudZoneDeletion&, const CloudZoneDeletion&) = default;
};

/// Zones changed or deleted in one database since a token.
struct CloudDatabaseChanges {
  /// Zones created, or with records saved or deleted; each once.
  std::vector<CloudRecordZoneID> modifiedZoneIDs{};
  std::vector<CloudZoneDeletion> deletedZones{};
  /// Where to ask from next time.
  CloudChangeToken changeToken{};
  bool moreComing = false;
};

} // namespace vantrel
