#pragma once

#include <string_view>

namespace vantrel {

/// Why the planner's zone went away, as the store handles it.
enum class CloudKitZoneDeleteReason { deletedByApp, purgedByUser, encryptedDataReset };

std::string_view cloudKitZoneDeleteReasonName(CloudKitZoneDeleteReason reason);

} // namespace vantrel
