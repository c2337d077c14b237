#include "VantrelCore/Planning/GapReminderBuilder.hpp"

#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Planning/GapEndDerivation.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"

namespace vantrel {

std::vector<ScheduledGapReminder>
GapReminderBuilder::build(const std::unordered_map<std::string, GapRecord>& gaps, Date now, int dayCount) {
  std::vector<ScheduledGapReminder> reminders;
  const CalendarDate today = CalendarDate::localDayOf(now);
  for (int offset = 0; offset < dayCount; ++offset) {
    const CalendarDate day = today.adding(offset);
    const std::string key = day.description();
    for (const auto& gap : GapScheduling::gaps(key, gaps)) {
      if (!gap.reminder) {
        continue;
      }
      const auto clock = GapEndDerivation::startClock(gap);
      const auto start = GapEndDerivation::startDate(gap, day);
      if (!clock || !start || *start <= now) {
        continue;
      }
      reminders.push_back(ScheduledGapReminder{
          .identifier = std::string(ScheduledGapReminder::identifierPrefix) + gap.recordName + "." + key,
          .title = gap.label && !gap.label->empty() ? "Gap starting: " + *gap.label : "Gap starting",
          .body = "Starts at " + TimeFormat::clock(*start),
          .year = int(day.year),
          .month = int(day.month),
          .day = int(day.day),
          .hour = clock->first,
          .minute = clock->second});
    }
  }
  return reminders;
}

} // namespace vantrel
