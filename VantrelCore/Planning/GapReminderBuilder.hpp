#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Planning/ScheduledGapReminder.hpp"

#include <string>
#include <unordered_map>
#include <vector>

namespace vantrel {

/// The reminders of the gaps that ask for one, on `dayCount` days from the day of `now` (today and the
/// days after it, in the device zone), in day order and each day's gap order. Gaps of today that have
/// already begun and gaps whose time cannot be read are left out. The identifier is "vt.gap." with the
/// gap's record name and the day ("vt.gap.g-3f9a1c.2026-03-07"), so a gap moved to another day is another
/// reminder; the title is "Gap starting", with ": " and the label when there is one; the body says when.
class GapReminderBuilder {
public:
  static constexpr int defaultDayCount = 7;

  GapReminderBuilder() = delete;

  static std::vector<ScheduledGapReminder> build(const std::unordered_map<std::string, GapRecord>& gaps,
                                                 Date now, int dayCount = defaultDayCount);
};

} // namespace vantrel
