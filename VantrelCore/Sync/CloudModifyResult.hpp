#pragma once

#include "VantrelCore/Sync/CloudError.hpp"
#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudRecordID.hpp"

#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace vantrel {

/// One outcome per item of a modify, in the request's order.
struct CloudModifyResult {
  /// The record as the server now holds it (new change tag and modification time), or why not.
  std::vector<std::pair<CloudRecordID, std::variant<CloudRecord, CloudError>>> saveResults{};
  /// Nothing on success, or why not.
  std::vector<std::pair<CloudRecordID, std::optional<CloudError>>> deleteResults{};
};

} // namespace vantrel
