#pragma once

#include "VantrelCore/Sync/CloudRecordID.hpp"

namespace vantrel {

/// A record the sync engine is to save or delete at the next send.
struct PendingRecordZoneChange {
  enum class Kind { saveRecord, deleteRecord };

  Kind kind = Kind::saveRecord;
  CloudRecordID recordID{};

  static PendingRecordZoneChange save(CloudRecordID recordID) {
    return {Kind::saveRecord, std::move(recordID)};
  }
  static PendingRecordZoneChange remove(CloudRecordID recordID) {
    return {Kind::deleteRecord, std::move(recordID)};
  }

  friend bool operator==(const PendingRecordZoneChange&, const PendingRecordZoneChange&) = default;
};

/// A zone the sync engine is to save or delete at the next send.
struct PendingDatabaseChange {
  enum class Kind { saveZone, deleteZone };

  Kind kind = Kind::saveZone;
  CloudRecordZoneID zoneID{};

  friend bool operator==(const PendingDatabaseChange&, const PendingDatabaseChange&) = default;
};

} // namespace vantrel
