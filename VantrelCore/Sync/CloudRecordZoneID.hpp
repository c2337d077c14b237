#pragma once

#include <compare>
#include <string>
#include <string_view>

namespace vantrel {

/// Names a record zone: the zone's name and the user who owns it.
struct CloudRecordZoneID {
  /// The owner of zones in the signed-in user's own database.
  static constexpr std::string_view defaultOwnerName = "__defaultOwner__";

  std::string zoneName;
  std::string ownerName{defaultOwnerName};

  friend auto operator<=>(const CloudRecordZoneID&, const CloudRecordZoneID&) = default;
};

} // namespace vantrel
