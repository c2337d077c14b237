#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// When, and in which gap, one user planned a task.
struct UserTaskScheduleRecord {
  /// "ut-" and 16 hex digits of SHA-256 over user and task.
  std::string recordName{};
  std::string userRef{};
  std::string taskRef{};
  /// The planned day as its noon UTC; absent means unscheduled ("anyday").
  std::optional<Date> date{};
  /// "HH:mm" start of the gap the task is planned into; absent means the day without a gap.
  std::optional<std::string> gapTime{};

  /// A schedule that plans nothing: it is deleted rather than saved.
  bool isAllDefaults() const { return !date && !gapTime; }

  static constexpr std::string_view typeName = "UserTaskScheduleRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &UserTaskScheduleRecord::recordName},
                      RecordField{"userRef", &UserTaskScheduleRecord::userRef},
                      RecordField{"taskRef", &UserTaskScheduleRecord::taskRef},
                      RecordField{"date", &UserTaskScheduleRecord::date},
                      RecordField{"gapTime", &UserTaskScheduleRecord::gapTime}};
  }
  friend bool operator==(const UserTaskScheduleRecord&, const UserTaskScheduleRecord&) = default;
};

} // namespace vantrel
