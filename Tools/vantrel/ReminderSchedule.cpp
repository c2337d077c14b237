#include "Tools/vantrel/ReminderSchedule.hpp"

#include "Linux/FileNotificationCenter.hpp"
#include "Linux/JSONFilePreferences.hpp"
#include "VantrelCore/Planning/AppIconBadge.hpp"
#include "VantrelCore/Planning/GapReminderBuilder.hpp"
#include "VantrelCore/Planning/NotificationsController.hpp"
#include "VantrelCore/Platform/Logger.hpp"

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

void markRemindersSeen(const CommandEnvironment& environment) {
  try {
    FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()),
                                  environment.fileSystem());
    if (AppIconBadge::count(center) > 0) {
      AppIconBadge(center).markSeen();
    }
  } catch (const std::exception& error) {
    Logger("com.vantrel.vantrel", "CommandLine").error("Reminders not marked seen: %@", error.what());
  }
}

int unseenReminders(const CommandEnvironment& environment) {
  try {
    const FileNotificationCenter center(FileNotificationCenter::defaultFile(environment.paths()),
                                        environment.fileSystem());
    return AppIconBadge::count(center);
  } catch (const std::runtime_error&) {
    return 0;
  }
}

} // namespace vantrel::cli
