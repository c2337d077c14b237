#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Store/GapTasksOnDelete.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

/// The gaps of a day, and this user's tasks planned into them. Each checks everything before it writes
/// anything.
class GapRules {
public:
  explicit GapRules(const RuleContext& context) : context_(context) {}

  /// A gap on the day after its last one; the day's record is made the first time it is needed. Times are
  /// kept as "HH:mm" ("9:05" becomes "09:05"), here and in update().
  std::string add(const CalendarDate& day, std::string time, std::optional<std::string> label, bool reminder,
                  std::optional<std::string> recordName = {}) const;
  /// Changes what is given; tasks planned into the gap move with a new time of day.
  void update(std::string_view gap, std::optional<std::string> time,
              std::optional<std::optional<std::string>> label, std::optional<bool> reminder) const;
  /// Deletes the gap; the tasks planned into it stay on the day, or return to anyday.
  void remove(std::string_view gap, GapTasksOnDelete tasks) const;
  /// Copies gaps (time, label, reminder) onto other days; answers the new gaps' names in order.
  std::vector<std::string> copy(std::span<const std::pair<CalendarDate, GapRecord>> copies) const;

private:
  /// The user's schedules planned into the gap.
  std::vector<UserTaskScheduleRecord> schedulesIn(const GapRecord& gap) const;

  const RuleContext& context_;
};

} // namespace vantrel
