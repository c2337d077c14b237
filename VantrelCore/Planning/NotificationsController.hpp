#pragma once

#include "VantrelCore/Planning/ScheduledGapReminder.hpp"
#include "VantrelCore/Planning/UserNotificationCenter.hpp"
#include "VantrelCore/Platform/Logger.hpp"

#include <span>
#include <string_view>

namespace vantrel {

/// The notification permission and the gap reminders scheduled with the platform.
class NotificationsController {
public:
  /// The flag, in the standard preferences, that lets gap reminders be scheduled at all.
  static constexpr std::string_view gapRemindersEnabledKey = "com.vantrel.notifications.gapReminders.enabled";

  explicit NotificationsController(UserNotificationCenter& center);

  NotificationAuthState status() const { return status_; }
  void refreshStatus();
  /// Asks for permission; refreshes the status and answers whether it was granted.
  bool requestAuthorization();
  /// Replaces every pending gap reminder with `reminders`; requests of other kinds stay. Does nothing
  /// without permission.
  void rescheduleGapReminders(std::span<const ScheduledGapReminder> reminders);
  /// Whether the pending gap reminders are exactly `reminders`, in any order: then rescheduling would
  /// only rewrite what is there.
  bool isScheduled(std::span<const ScheduledGapReminder> reminders) const;

  /// The request that schedules a reminder: its content, a default sound, its time once.
  static NotificationRequest request(const ScheduledGapReminder& reminder);

private:
  UserNotificationCenter& center_;
  NotificationAuthState status_ = NotificationAuthState::notDetermined;
  Logger logger_;
};

} // namespace vantrel
