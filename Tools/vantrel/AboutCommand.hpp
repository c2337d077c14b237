#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"

#include <ostream>

namespace vantrel::cli {

/// `vantrel about`: the version, the instant and day the run sees, the device zone and locale, and where
/// the profile's files live.
void runAboutCommand(const CommandEnvironment& environment);

} // namespace vantrel::cli
