#pragma once

#include "VantrelCore/Sync/CloudChangeToken.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudRecordID.hpp"

#include <string>
#include <vector>

namespace vantrel {

struct CloudDeletedRecord {
  CloudRecordID recordID{};
  std::string recordType{};

  friend bool operator==(const CloudDeletedRecord&, const CloudDeletedRecord&) = default;
};

/// Records saved or deleted in one zone since a token, each in its latest state, in the order of the
/// changes.
struct CloudZoneChanges {
  std::vector<CloudRecord> modifiedRecords{};
  std::vector<CloudDeletedRecord> deletedRecords{};
  /// Where to ask from next time; with `moreComing`, the rest follows from it.
  CloudChangeToken changeToken{};
  bool moreComing = false;
};

} // namespace vantrel
