#pragma once

#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Platform/UUIDGenerator.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/Rules/RecordWriter.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantrel {

/// What every rule of the planner works over: the records as they are, the path their changes take, and
/// where new names and times come from. The lookups throw CloudKitStoreError::recordNotFound; a missing area
/// is reported as CloudKitStoreError::areaNotInCache.
class RuleContext {
public:
  RuleContext(const CloudKitCache& cache, RecordWriter& writer, UUIDGenerator& uuids, const Clock& clock)
      : cache_(cache), writer_(writer), uuids_(uuids), clock_(clock) {}

  const CloudKitCache& cache() const { return cache_; }
  RecordWriter& writer() const { return writer_; }
  const Clock& clock() const { return clock_; }

  const TaskRecord& requireTask(std::string_view task) const;
  const AreaRecord& requireArea(std::string_view area) const;
  const ProjectRecord& requireProject(std::string_view project) const;
  const UserProjectPlacementRecord& requireMyPlacement(std::string_view project) const;
  const GapRecord& requireGap(std::string_view gap) const;
  const ProjectSectionRecord& requireProjectHeader(std::string_view header) const;
  const AreaSectionRecord& requireAreaHeader(std::string_view header) const;
  const InboxItemRecord& requireInboxItem(std::string_view item) const;
  std::optional<UserTaskScheduleRecord> mySchedule(const std::string& task) const;

  std::string newRecordName(std::string_view prefix) const;
  /// The caller's name for a new record of the type, checked to be well formed and free, or a new one.
  template <class Record>
  std::string nameForNewRecord(std::optional<std::string> given, std::string_view prefix) const {
    if (!given) {
      return newRecordName(prefix);
    }
    RecordNames::checkChosen(*given);
    if (cache_.records<Record>().contains(*given)) {
      throw std::invalid_argument("record name " + *given + " is already in use");
    }
    return std::move(*given);
  }

private:
  const CloudKitCache& cache_;
  RecordWriter& writer_;
  UUIDGenerator& uuids_;
  const Clock& clock_;
};

} // namespace vantrel
