#pragma once

#include <string_view>

namespace vantrel {

enum class CloudAccountStatus { couldNotDetermine, available, restricted, noAccount, temporarilyUnavailable };

/// The case name, as logs and the diagnostics report write it: "available", "couldNotDetermine".
std::string_view cloudAccountStatusName(CloudAccountStatus status);

} // namespace vantrel
