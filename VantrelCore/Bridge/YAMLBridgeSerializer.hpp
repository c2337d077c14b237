#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Model/InboxItemRecord.hpp"
#include "VantrelCore/Model/ProjectItem.hpp"
#include "VantrelCore/Model/ProjectRecord.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Model/UserProjectPlacementRecord.hpp"
#include "VantrelCore/Model/UserTaskScheduleRecord.hpp"

#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace vantrel {

/// The text of every bridge file, built line by line from fixed literals rather than by a YAML emitter, so
/// that the files are small, stable, diff-friendly and always in the same key order.
class YAMLBridgeSerializer {
public:
  /// An area as areas.yaml lists it, under the folder the tree gives it.
  struct AreaEntry {
    std::string folder{};
    AreaRecord area{};
  };
  /// The current user's schedules, by task.
  using Schedules = std::unordered_map<std::string, UserTaskScheduleRecord>;
  /// Subtasks in their order, by parent task.
  using Subtasks = std::unordered_map<std::string, std::vector<TaskRecord>>;

  YAMLBridgeSerializer() = delete;

  static std::string renderAreas(std::span<const AreaEntry> areas,
                                 std::span<const std::string> pinnedProjectRefs);
  static std::string renderInbox(std::span<const InboxItemRecord> items);
  /// `gaps` in the order the day holds them.
  static std::string renderDay(const CalendarDate& date, std::span<const GapRecord> gaps);
  /// `items`: the project's headers and top-level tasks in display order.
  static std::string renderProject(const ProjectRecord& project, std::span<const ProjectItem> items,
                                   std::optional<Date> lastEdited,
                                   const UserProjectPlacementRecord* myPlacement,
                                   const Schedules& mySchedules, const Subtasks& subtasks);
  /// `tasks`: the area's own top-level tasks in display order.
  static std::string renderAreaTasks(const AreaRecord& area, std::span<const TaskRecord> tasks,
                                     std::optional<Date> lastEdited, const Schedules& mySchedules,
                                     const Subtasks& subtasks);
};

} // namespace vantrel
