#pragma once

#include "VantrelCore/Sync/CloudChangeToken.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudRecordID.hpp"

#include <optional>
#include <string>
#include <vector>

namespace vantrel {

struct CloudDeletedRecord {
  CloudRecordID recordID{};
  std::string recordType{};

  friend bool operator==(const CloudDeletedRecord&, const CloudDeletedRecord&) = default;
};

/// A changed record the database holds but cannot read back. It is reported rather than thrown, so that
/// the token moves past it and the zone's other changes still arrive; saving over it with its current
/// change tag, or deleting it, repairs it.
struct CloudUnreadableRecord {
  CloudRecordID recordID{};
  std::optional<std::string> recordType{};
  /// Why it cannot be read, naming the record.
  std::string error{};

  friend bool operator==(const CloudUnreadableRecord&, const CloudUnreadableRecord&) = default;
};

/// Records saved or deleted in one zone since a token, each in its latest state, in the order of the
/// changes.
struct CloudZoneChanges {
  std::vector<CloudRecord> modifiedRecords{};
  std::vector<CloudDeletedRecord> deletedRecords{};
  std::vector<CloudUnreadableRecord> unreadableRecords{};
  /// Where to ask from next time; with `moreComing`, the rest follows from it.
  CloudChangeToken changeToken{};
  bool moreComing = false;
};

} // namespace vantrel
