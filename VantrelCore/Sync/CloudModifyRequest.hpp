#pragma once

#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudRecordID.hpp"

#include <vector>

namespace vantrel {

enum class CloudSavePolicy {
  /// Save the changed keys only if the record's change tag is still the server's; otherwise fail with
  /// serverRecordChanged.
  ifServerRecordUnchanged,
  /// Save the changed keys whatever the server holds.
  changedKeys,
  /// Replace every field with the record's.
  allKeys,
};

struct CloudModifyRequest {
  std::vector<CloudRecord> recordsToSave{};
  std::vector<CloudRecordID> recordIDsToDelete{};
  CloudSavePolicy savePolicy = CloudSavePolicy::ifServerRecordUnchanged;
  /// All or nothing per zone: when one item of a zone fails, no item of that zone is applied.
  bool atomically = true;
};

} // namespace vantrel
