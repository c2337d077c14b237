#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"

#include <ostream>

namespace vantrel::cli {

/// `vantrel sync`: brings the profile's store on line against the cloud database (making the zone and its
/// schema on a fresh one), sends what waits, fetches what other devices changed, keeps the snapshot, and
/// reports the account, the records held and what still waits.
void runSyncCommand(const CommandEnvironment& environment);

} // namespace vantrel::cli
