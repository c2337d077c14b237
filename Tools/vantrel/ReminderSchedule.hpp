#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

namespace vantrel::cli {

/// Whether the user turned gap reminders on (the standard preferences' flag).
bool gapRemindersEnabled(const CommandEnvironment& environment);
/// Replaces the profile's pending gap reminders with the week's reminders of the cached gaps, or with none
/// when gap reminders are off; does nothing without notification permission.
void rescheduleGapReminders(const CloudKitCache& cache, const CommandEnvironment& environment);

} // namespace vantrel::cli
