#include "VantrelCore/Store/Rules/GapRules.hpp"

#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

namespace vantrel {

std::vector<UserTaskScheduleRecord> GapRules::schedulesIn(const GapRecord& gap) const {
  std::vector<UserTaskScheduleRecord> planned;
  for (const auto& [task, schedule] : context_.cache().myTaskSchedules()) {
    if (schedule.date && schedule.gapTime && GapRecord::sameTime(*schedule.gapTime, gap.time) &&
        CalendarDate::utcDayOf(*schedule.date).description() == gap.dayRef) {
      planned.push_back(schedule);
    }
  }
  return planned;
}

std::string GapRules::add(const CalendarDate& day, std::string time, std::optional<std::string> label,
                          bool reminder, std::optional<std::string> recordName) const {
  const auto& cache = context_.cache();
  const std::string dayRef = RecordNames::day(day);
  std::vector<std::int64_t> siblings;
  for (const auto& gap : CloudKitCache::namesIn(cache.gapIDsByDay(), dayRef)) {
    siblings.push_back(cache.gaps().at(gap).sortIndex);
  }
  GapRecord gap{.recordName =
                    context_.nameForNewRecord<GapRecord>(std::move(recordName), RecordNames::gapPrefix),
                .dayRef = dayRef,
                .time = GapRecord::normalizedTime(time),
                .label = std::move(label),
                .reminder = reminder,
                .sortIndex = SortIndex::appended(siblings)};
  if (!cache.days().contains(dayRef)) {
    context_.writer().save(DayRecord{.recordName = dayRef, .date = day.noonUTC()});
  }
  std::string name = gap.recordName;
  context_.writer().save(std::move(gap));
  return name;
}

void GapRules::update(std::string_view gap, std::optional<std::string> time,
                      std::optional<std::optional<std::string>> label, std::optional<bool> reminder) const {
  // A copy: saving the change replaces the record the cache holds.
  const GapRecord current = context_.requireGap(gap);
  GapRecord changed = current;
  const auto planned = schedulesIn(current);
  if (time) {
    changed.time = GapRecord::normalizedTime(*time);
  }
  if (label) {
    changed.label = *label;
  }
  if (reminder) {
    changed.reminder = *reminder;
  }
  const bool moved = !GapRecord::sameTime(changed.time, current.time);
  const std::string newTime = changed.time;
  context_.writer().save(std::move(changed));
  if (moved) {
    for (auto schedule : planned) {
      schedule.gapTime = newTime;
      context_.writer().save(std::move(schedule));
    }
  }
}

void GapRules::remove(std::string_view gap, GapTasksOnDelete tasks) const {
  const GapRecord current = context_.requireGap(gap);
  for (auto schedule : schedulesIn(current)) {
    schedule.gapTime.reset();
    if (tasks == GapTasksOnDelete::returnToAnyday) {
      schedule.date.reset();
    }
    if (schedule.isAllDefaults()) {
      context_.writer().remove(CKRecordTypes::userTaskSchedule, schedule.recordName);
    } else {
      context_.writer().save(schedule);
    }
  }
  context_.writer().remove(CKRecordTypes::gap, current.recordName);
}

std::vector<std::string> GapRules::copy(std::span<const std::pair<CalendarDate, GapRecord>> copies) const {
  std::vector<std::string> names;
  for (const auto& [day, gap] : copies) {
    names.push_back(add(day, gap.time, gap.label, gap.reminder));
  }
  return names;
}

} // namespace vantrel
