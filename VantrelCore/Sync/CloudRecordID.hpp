#pragma once

#include "VantrelCore/Sync/CloudRecordZoneID.hpp"

#include <compare>
#include <string>

namespace vantrel {

/// Names a record: its record name inside a zone.
struct CloudRecordID {
  std::string recordName;
  CloudRecordZoneID zoneID;

  friend auto operator<=>(const CloudRecordID&, const CloudRecordID&) = default;
};

} // namespace vantrel
