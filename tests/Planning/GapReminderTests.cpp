#include "VantrelCore/Planning/AppIconBadge.hpp"
#include "VantrelCore/Planning/GapReminderBuilder.hpp"
#include "VantrelCore/Planning/NotificationsController.hpp"
#include "tests/Support/InMemoryNotificationCenter.hpp"
#include "tests/Support/ScopedDeviceSettings.hpp"
#include "tests/Support/ScopedLogCapture.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

const CalendarDate saturday{2026, 3, 7};

std::unordered_map<std::string, GapRecord> gapsOf(std::vector<GapRecord> records) {
  std::unordered_map<std::string, GapRecord> map;
  for (auto& record : records) {
    map.emplace(record.recordName, std::move(record));
  }
  return map;
}

std::vector<std::string> identifiers(const std::vector<NotificationRequest>& requests) {
  std::vector<std::string> result;
  for (const auto& request : requests) {
    result.push_back(request.identifier);
  }
  std::ranges::sort(result);
  return result;
}

class GapReminderTest : public ::testing::Test {
protected:
  testing::ScopedDeviceSettings settings_{"Europe/Berlin"};
  testing::InMemoryNotificationCenter center_;
};

TEST_F(GapReminderTest, RemindersCoverTheGapsThatAskForOneInTheComingWeek) {
  const auto gaps = gapsOf({
      {.recordName = "g-past", .dayRef = "2026-03-07", .time = "09:00", .reminder = true},
      {.recordName = "g-later",
       .dayRef = "2026-03-07",
       .time = "14:30",
       .label = "Deep work",
       .reminder = true},
      {.recordName = "g-silent", .dayRef = "2026-03-07", .time = "16:00", .reminder = false},
      {.recordName = "g-bad", .dayRef = "2026-03-08", .time = "noon", .reminder = true},
      {.recordName = "g-sunday-noon", .dayRef = "2026-03-08", .time = "13:00", .reminder = true},
      {.recordName = "g-sunday", .dayRef = "2026-03-08", .time = "8:05", .reminder = true},
      {.recordName = "g-last", .dayRef = "2026-03-13", .time = "07:00", .reminder = true},
      {.recordName = "g-too-far", .dayRef = "2026-03-14", .time = "07:00", .reminder = true},
  });
  const auto reminders = GapReminderBuilder::build(gaps, *saturday.localTime(10));
  ASSERT_EQ(reminders.size(), 4u);
  EXPECT_EQ(reminders[0], (ScheduledGapReminder{.identifier = "vt.gap.g-later.2026-03-07",
                                                .title = "Gap starting: Deep work",
                                                .body = "Starts at 2:30 PM",
                                                .year = 2026,
                                                .month = 3,
                                                .day = 7,
                                                .hour = 14,
                                                .minute = 30}));
  EXPECT_EQ(reminders[1].identifier, "vt.gap.g-sunday.2026-03-08");
  EXPECT_EQ(reminders[1].title, "Gap starting");
  EXPECT_EQ(std::pair(reminders[1].hour, reminders[1].minute), std::pair(8, 5));
  EXPECT_EQ(reminders[2].identifier, "vt.gap.g-sunday-noon.2026-03-08")
      << "a day's reminders go by the clock";
  EXPECT_EQ(reminders[3].identifier, "vt.gap.g-last.2026-03-13");
}

TEST_F(GapReminderTest, ReschedulingReplacesOnlyGapReminders) {
  center_.pending = {{.identifier = "other.kind"}, {.identifier = "vt.gap.g-old.2026-03-01"}};
  const std::vector<ScheduledGapReminder> reminders{
      {.identifier = "vt.gap.g-1.2026-03-07",
       .title = "Gap starting",
       .year = 2026,
       .month = 3,
       .day = 7,
       .hour = 9},
      {.identifier = "vt.gap.g-2.2026-03-07",
       .title = "Gap starting",
       .year = 2026,
       .month = 3,
       .day = 7,
       .hour = 13},
  };
  NotificationsController controller(center_);
  testing::ScopedLogCapture log;
  controller.rescheduleGapReminders(reminders);
  controller.rescheduleGapReminders(reminders);
  EXPECT_EQ(identifiers(center_.pending),
            (std::vector<std::string>{"other.kind", "vt.gap.g-1.2026-03-07", "vt.gap.g-2.2026-03-07"}));
  EXPECT_TRUE(log.contains("Cleared 1 pending gap reminders"));
  EXPECT_TRUE(log.contains("Cleared 2 pending gap reminders"));
  EXPECT_TRUE(log.contains("Scheduled 2 gap reminders"));
  EXPECT_TRUE(controller.isScheduled(reminders));
  EXPECT_FALSE(controller.isScheduled(std::span(reminders).first(1)));

  center_.refusing = {"vt.gap.g-1.2026-03-07"};
  controller.rescheduleGapReminders(reminders);
  EXPECT_TRUE(
      log.contains("Failed to add reminder vt.gap.g-1.2026-03-07: the notification center refused it"));
  EXPECT_EQ(identifiers(center_.pending), (std::vector<std::string>{"other.kind", "vt.gap.g-2.2026-03-07"}));
}

TEST_F(GapReminderTest, WithoutPermissionNothingChanges) {
  for (const auto state : {NotificationAuthState::notDetermined, NotificationAuthState::denied}) {
    center_.status = state;
    center_.pending = {{.identifier = "vt.gap.g-old.2026-03-01"}};
    NotificationsController controller(center_);
    testing::ScopedLogCapture log;
    const std::vector<ScheduledGapReminder> reminders{{.identifier = "vt.gap.g-1.2026-03-07"}};
    controller.rescheduleGapReminders(reminders);
    EXPECT_EQ(identifiers(center_.pending), std::vector<std::string>{"vt.gap.g-old.2026-03-01"});
    EXPECT_TRUE(
        log.contains("Skipping schedule; authorization=" + std::string(notificationAuthStateName(state))));
  }
  center_.status = NotificationAuthState::notDetermined;
  NotificationsController controller(center_);
  EXPECT_TRUE(controller.requestAuthorization());
  EXPECT_EQ(controller.status(), NotificationAuthState::granted);
}

TEST_F(GapReminderTest, TheBadgeAsksOnceAndShowsTheCount) {
  center_.status = NotificationAuthState::notDetermined;
  center_.grantedOnRequest = NotificationAuthState::denied;
  AppIconBadge badge(center_);
  testing::ScopedLogCapture log;
  badge.requestAuthorizationIfNeeded();
  EXPECT_TRUE(log.contains("Badge authorization granted=false"));
  center_.grantedOnRequest = NotificationAuthState::granted;
  badge.requestAuthorizationIfNeeded();
  EXPECT_EQ(center_.status, NotificationAuthState::denied) << "decided already: not asked again";
  badge.set(3);
  EXPECT_EQ(center_.badge, 3);
  EXPECT_TRUE(log.contains("Mac dock badge → 3"));
}

// The badge counts the gap reminders shown and not yet seen; showing Today sees them.
TEST_F(GapReminderTest, TheBadgeCountsShownGapRemindersUntilTodayIsSeen) {
  center_.pending = {{.identifier = "vt.gap.g-later.2026-03-07"}};
  center_.delivered = {{.identifier = "vt.gap.g-1.2026-03-07"},
                       {.identifier = "other.kind"},
                       {.identifier = "vt.gap.g-2.2026-03-07"}};
  EXPECT_EQ(AppIconBadge::count(center_), 2) << "waiting reminders and other kinds do not count";
  AppIconBadge badge(center_);
  center_.badge = 2;
  testing::ScopedLogCapture log;
  badge.markSeen();
  EXPECT_EQ(identifiers(center_.delivered), std::vector<std::string>{"other.kind"});
  EXPECT_EQ(identifiers(center_.pending), std::vector<std::string>{"vt.gap.g-later.2026-03-07"});
  EXPECT_EQ(AppIconBadge::count(center_), 0);
  EXPECT_EQ(center_.badge, 0);
  EXPECT_TRUE(log.contains("Marked 2 gap reminders seen"));
}

} // namespace
} // namespace vantrel
