#include "Tools/vantrel/ReminderSchedule.hpp"

#include "Linux/FileNotificationCenter.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "VantrelCore/Planning/GapReminderBuilder.hpp"
#include "VantrelCore/Planning/NotificationsController.hpp"

namespace vantrel::cli {

bool gapRemindersEnabled(const CommandEnvironment& environment) {
  return JSONFilePreferences::standard(environment.paths())
      ->boolean(NotificationsController::gapRemindersEnabledKey)
      .value_or(false);
}

void rescheduleGapReminders(const CloudKitCache& cache, const CommandEnvironment& environment) {
  FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()));
  NotificationsController controller(center);
  const auto reminders = gapRemindersEnabled(environment)
                             ? GapReminderBuilder::build(cache.gaps(), environment.clock().now())
                             : std::vector<ScheduledGapReminder>{};
  // Every run of the program gets here; a week that has not changed costs no rewrites of the file.
  if (controller.status() != NotificationAuthState::granted || !controller.isScheduled(reminders)) {
    controller.rescheduleGapReminders(reminders);
  }
}

} // namespace vantrel::cli
