#pragma once

#include "Tools/vantrel/CommandEnvironment.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

namespace vantrel::cli {

/// Whether the user turned gap reminders on (the standard preferences' flag).
bool gapRemindersEnabled(const CommandEnvironment& environment);
/// Replaces the profile's pending gap reminders with the week's reminders of the cached gaps, or with none
/// when gap reminders are off; does nothing without notification permission.
void rescheduleGapReminders(const CloudKitCache& cache, const CommandEnvironment& environment);
/// The user looked at today's plan: the reminders shown so far no longer count on the badge. A failure
/// only costs the badge, so it is logged, not raised.
void markRemindersSeen(const CommandEnvironment& environment);
/// The badge: gap reminders shown and not yet seen; 0 when the notification file cannot be read.
int unseenReminders(const CommandEnvironment& environment);

} // namespace vantrel::cli
