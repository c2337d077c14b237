#include "VantrelCore/Store/Rules/ProjectRules.hpp"

#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/Rules/DistinctKeys.hpp"
#include "VantrelCore/Store/Rules/SortOrder.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <stdexcept>
#include <utility>
#include <vector>

namespace vantrel {

void ProjectRules::change(std::string_view project, const std::function<void(ProjectRecord&)>& apply) const {
  ProjectRecord changed = context_.requireProject(project);
  apply(changed);
  context_.writer().save(std::move(changed));
}

void ProjectRules::changePlacement(std::string_view project,
                                   const std::function<void(UserProjectPlacementRecord&)>& apply) const {
  context_.requireProject(project);
  UserProjectPlacementRecord changed = context_.requireMyPlacement(project);
  apply(changed);
  context_.writer().save(std::move(changed));
}

std::string ProjectRules::add(std::string_view name, std::string_view area,
                              std::optional<std::string> purpose) const {
  const auto& user = context_.cache().currentUserRef();
  const std::string areaRef = context_.requireArea(area).recordName;
  ProjectRecord project{.recordName = context_.newRecordName(RecordNames::projectPrefix),
                        .name = std::string(trimmingWhiteSpaceAndNewlines(name)),
                        .purpose = std::move(purpose)};
  // An area's projects and this user's headers in it share one order.
  UserProjectPlacementRecord placement{
      .recordName = RecordNames::userProjectPlacement(user, project.recordName),
      .userRef = user,
      .projectRef = project.recordName,
      .areaRef = areaRef,
      .sortIndex = SortIndex::appended(SortOrder(context_).areaItemIndexes(areaRef))};
  std::string recordName = project.recordName;
  context_.writer().save(std::move(project));
  context_.writer().save(std::move(placement));
  return recordName;
}

std::string ProjectRules::addBelowHeader(std::string_view areaHeader, std::string_view name) const {
  const SortOrder order(context_);
  const AreaSectionRecord header = context_.requireAreaHeader(areaHeader);
  const auto index = SortOrder::placeAfter(
      [&] { return context_.requireAreaHeader(header.recordName).sortIndex; },
      [&] { return order.areaItemIndexes(header.areaRef); }, [&] { order.renumberArea(header.areaRef); });
  const std::string project = add(name, header.areaRef);
  setSortIndex(project, index);
  return project;
}

void ProjectRules::rename(std::string_view project, std::string_view name) const {
  change(project, [&](ProjectRecord& changed) { changed.name = trimmingWhiteSpaceAndNewlines(name); });
}

void ProjectRules::setPurpose(std::string_view project, std::optional<std::string> purpose) const {
  change(project, [&](ProjectRecord& changed) { changed.purpose = std::move(purpose); });
}

void ProjectRules::setDueDate(std::string_view project, std::optional<Date> dueDate) const {
  change(project, [&](ProjectRecord& changed) { changed.dueDate = dueDate; });
}

void ProjectRules::setStatus(std::string_view project, std::string_view status) const {
  if (status != ProjectRecord::activeStatus && status != ProjectRecord::archivedStatus) {
    throw std::invalid_argument("unknown project status '" + std::string(status) +
                                "': expected active or archived");
  }
  change(project, [&](ProjectRecord& changed) { changed.status = status; });
}

void ProjectRules::setPinned(std::string_view project, bool isPinned) const {
  changePlacement(project, [&](UserProjectPlacementRecord& changed) { changed.isPinned = isPinned; });
}

void ProjectRules::setSortIndex(std::string_view project, std::int64_t sortIndex) const {
  changePlacement(project, [&](UserProjectPlacementRecord& changed) { changed.sortIndex = sortIndex; });
}

void ProjectRules::remove(std::string_view project) const {
  const auto& cache = context_.cache();
  const std::string name = context_.requireProject(project).recordName;
  // Everything is listed before anything goes: each delete changes the indexes read here.
  std::vector<std::pair<std::string_view, std::string>> doomed;
  const RecordNameSet& tasks = CloudKitCache::namesIn(cache.allTasksByHome(), name);
  for (const auto& task : tasks) {
    if (const auto schedule = cache.myTaskSchedules().find(task); schedule != cache.myTaskSchedules().end()) {
      doomed.emplace_back(CKRecordTypes::userTaskSchedule, schedule->second.recordName);
    }
  }
  for (const auto& header : CloudKitCache::namesIn(cache.sectionsByProject(), name)) {
    for (const auto& state : CloudKitCache::namesIn(cache.sectionStatesBySection(), header)) {
      doomed.emplace_back(CKRecordTypes::userProjectSectionState, state);
    }
    doomed.emplace_back(CKRecordTypes::projectSection, header);
  }
  for (const auto& task : tasks) {
    doomed.emplace_back(CKRecordTypes::task, task);
  }
  for (const auto& placement : CloudKitCache::namesIn(cache.placementsByProject(), name)) {
    doomed.emplace_back(CKRecordTypes::userProjectPlacement, placement);
  }
  doomed.emplace_back(CKRecordTypes::project, name);
  for (const auto& [type, record] : doomed) {
    context_.writer().remove(type, record);
  }
}

void ProjectRules::reorderItems(std::string_view project, std::span<const ProjectItemKey> newOrder) const {
  const auto& cache = context_.cache();
  const std::string projectRef = context_.requireProject(project).recordName;
  requireDistinct(newOrder, CKRecordTypes::task);
  for (const auto& key : newOrder) {
    const bool isTask = key.kind == ProjectItemKey::Kind::task;
    const bool belongs = isTask ? cache.tasks().contains(key.id) &&
                                      cache.tasks().at(key.id).homeRef == projectRef &&
                                      !cache.tasks().at(key.id).isSubtask()
                                : cache.projectSections().contains(key.id) &&
                                      cache.projectSections().at(key.id).projectRef == projectRef;
    if (!belongs) {
      throw CloudKitStoreError::recordNotFound(isTask ? CKRecordTypes::task : CKRecordTypes::projectSection,
                                               key.id);
    }
  }
  SortOrder(context_).writeOrder(newOrder);
}

void ProjectRules::bridgeLock(std::span<const std::string> projects, std::string_view deviceName,
                              Date lockedAt) const {
  changeAll(projects, [&](ProjectRecord& project) {
    project.bridgeLockedBy = context_.cache().currentUserRef();
    project.bridgeLockedByName = std::string(deviceName);
    project.bridgeLockedAt = lockedAt;
  });
}

void ProjectRules::bridgeUnlock(std::span<const std::string> projects) const {
  changeAll(projects, [](ProjectRecord& project) {
    project.bridgeLockedBy.reset();
    project.bridgeLockedByName.reset();
    project.bridgeLockedAt.reset();
  });
}

void ProjectRules::changeAll(std::span<const std::string> projects,
                             const std::function<void(ProjectRecord&)>& apply) const {
  for (const auto& project : projects) {
    context_.requireProject(project);
  }
  for (const auto& project : projects) {
    change(project, apply);
  }
}

} // namespace vantrel
