#pragma once

namespace vantrel {

/// Which of an account's databases a call addresses: its own zones, or the zones others shared with it.
enum class CloudDatabaseScope { privateDatabase, sharedDatabase };

} // namespace vantrel
