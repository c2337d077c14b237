#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/AreaSectionRecord.hpp"
#include "VantrelCore/Model/DayRecord.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/InboxItemRecord.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/ProjectSectionRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <string_view>
#include <variant>

namespace vantrel {

/// The one way the planner's rules change data: the store's write path in the program, a recording one in
/// tests. A save or delete lands in the cache before the call returns, so a rule reads its own writes.
class RecordWriter {
public:
  /// Every kind of record a rule writes.
  using AnyRecord =
      std::variant<AreaRecord, AreaSectionRecord, DayRecord, GapRecord, InboxItemRecord, ProjectRecord,
                   ProjectSectionRecord, TaskRecord, UserProjectPlacementRecord, UserTaskScheduleRecord>;

  virtual ~RecordWriter() = default;
  virtual void save(AnyRecord record) = 0;
  /// `recordName` may be the cached record's own name, which the removal frees: a writer copies it first.
  virtual void remove(std::string_view recordType, std::string_view recordName) = 0;
};

} // namespace vantrel
