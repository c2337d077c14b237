#include "VantrelCore/Planning/NotificationsController.hpp"

#include <algorithm>
#include <exception>
#include <vector>

namespace vantrel {

NotificationsController::NotificationsController(UserNotificationCenter& center)
    : center_(center), status_(center.authorizationStatus()),
      logger_("com.vantrel.vantrel", "NotificationsController") {}

void NotificationsController::refreshStatus() {
  status_ = center_.authorizationStatus();
}

bool NotificationsController::requestAuthorization() {
  bool granted = false;
  try {
    granted = center_.requestAuthorization();
  } catch (const std::exception& error) {
    logger_.error("Notification authorization request failed: %{public}s", error.what());
  }
  refreshStatus();
  return granted;
}

NotificationRequest NotificationsController::request(const ScheduledGapReminder& reminder) {
  return NotificationRequest{.identifier = reminder.identifier,
                             .title = reminder.title,
                             .body = reminder.body,
                             .year = reminder.year,
                             .month = reminder.month,
                             .day = reminder.day,
                             .hour = reminder.hour,
                             .minute = reminder.minute};
}

bool NotificationsController::isScheduled(std::span<const ScheduledGapReminder> reminders) const {
  std::vector<NotificationRequest> pending;
  for (auto& held : center_.pendingRequests()) {
    if (held.identifier.starts_with(ScheduledGapReminder::identifierPrefix)) {
      pending.push_back(std::move(held));
    }
  }
  return pending.size() == reminders.size() &&
         std::ranges::all_of(reminders, [&](const ScheduledGapReminder& reminder) {
           return std::ranges::find(pending, request(reminder)) != pending.end();
         });
}

void NotificationsController::rescheduleGapReminders(std::span<const ScheduledGapReminder> reminders) {
  if (status_ != NotificationAuthState::granted) {
    logger_.info("Skipping schedule; authorization=%{public}s", notificationAuthStateName(status_));
    return;
  }
  std::vector<std::string> stale;
  for (const auto& request : center_.pendingRequests()) {
    if (request.identifier.starts_with(ScheduledGapReminder::identifierPrefix)) {
      stale.push_back(request.identifier);
    }
  }
  center_.removePendingRequests(stale);
  logger_.info("Cleared %{public}ld pending gap reminders", std::int64_t(stale.size()));
  for (const auto& reminder : reminders) {
    try {
      center_.add(request(reminder));
    } catch (const std::exception& error) {
      logger_.error("Failed to add reminder %{public}s: %{public}s", reminder.identifier, error.what());
    }
  }
  logger_.info("Scheduled %{public}ld gap reminders", std::int64_t(reminders.size()));
}

} // namespace vantrel
