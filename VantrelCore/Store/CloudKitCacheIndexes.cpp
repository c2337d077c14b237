#include "VantrelCore/Store/CloudKitCacheIndexes.hpp"

#include "VantrelCore/Model/CalendarDayReader.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"

namespace vantrel {
namespace {

/// The current user's records of one kind, by the record they are about, the smallest name first.
template <class Record, class About>
std::unordered_map<std::string, const Record*> mine(const RecordMap<Record>& records,
                                                    std::string_view userRef, About about) {
  std::unordered_map<std::string, const Record*> chosen;
  for (const auto& [name, record] : records) {
    if (record.userRef != userRef) {
      continue;
    }
    const auto [slot, inserted] = chosen.try_emplace(record.*about, &record);
    if (!inserted && name < slot->second->recordName) {
      slot->second = &record;
    }
  }
  return chosen;
}

} // namespace

CloudKitCacheIndexes CloudKitCacheIndexes::build(const CloudKitCacheSnapshot& data,
                                                 const icu::TimeZone& dayIndexTimeZone) {
  CloudKitCacheIndexes indexes;
  const auto placements =
      mine(data.userProjectPlacements, data.currentUserRef, &UserProjectPlacementRecord::projectRef);
  for (const auto& [project, placement] : placements) {
    indexes.projectsInArea[placement->areaRef].insert(project);
    if (!data.projects.contains(project)) {
      indexes.sharedProjectRefs.insert(project);
    }
  }
  for (const auto& [name, task] : data.tasks) {
    if (task.homeIsArea()) {
      indexes.taskAreaRef[name] = task.homeRef;
    } else if (const auto placement = placements.find(task.homeRef); placement != placements.end()) {
      indexes.taskAreaRef[name] = placement->second->areaRef;
    }
    if (task.parentTaskRef) {
      indexes.tasksByParent[*task.parentTaskRef].insert(name);
    } else {
      indexes.tasksByHome[task.homeRef].insert(name);
    }
  }
  const CalendarDayReader days(dayIndexTimeZone);
  for (const auto& [task, schedule] :
       mine(data.userTaskSchedules, data.currentUserRef, &UserTaskScheduleRecord::taskRef)) {
    indexes.myTaskSchedules.emplace(task, *schedule);
    if (schedule->date) {
      indexes.myTaskIDsByDay[days.dayOf(*schedule->date).description()].insert(task);
    }
  }
  for (const auto& [name, gap] : data.gaps) {
    indexes.gapIDsByDay[gap.dayRef].insert(name);
  }
  for (const auto& [name, section] : data.projectSections) {
    indexes.sectionsByProject[section.projectRef].insert(name);
  }
  for (const auto& [name, placement] : data.userProjectPlacements) {
    indexes.placementsByProject[placement.projectRef].insert(name);
  }
  for (const auto& [name, section] : data.areaSections) {
    indexes.areaSectionsByArea[section.areaRef].insert(name);
  }
  for (const auto& [name, state] : data.userProjectSectionStates) {
    indexes.sectionStatesBySection[state.sectionRef].insert(name);
  }
  return indexes;
}

} // namespace vantrel
