// Placing new items directly after a given one, and the few mutations that go with it.
#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <algorithm>
#include <ranges>
#include <stdexcept>

namespace vantrel {
namespace {

template <class Key>
bool byIndex(const std::pair<Key, std::int64_t>& left, const std::pair<Key, std::int64_t>& right) {
  return std::tie(left.second, left.first) < std::tie(right.second, right.first);
}

} // namespace

std::optional<std::int64_t> CloudKitStore::indexAfter(std::int64_t reference,
                                                      std::span<const std::int64_t> siblings) {
  std::optional<std::int64_t> next;
  for (const auto index : siblings) {
    if (index > reference && (!next || index < *next)) {
      next = index;
    }
  }
  if (!next) {
    return SortIndex::appended(std::span(&reference, 1));
  }
  if (*next - reference < 2) {
    return std::nullopt;
  }
  return reference + (*next - reference) / 2;
}

void CloudKitStore::renumberHome(const std::string& home) {
  std::vector<std::pair<ProjectItemKey, std::int64_t>> items;
  if (const auto tasks = cache_.tasksByHome().find(home); tasks != cache_.tasksByHome().end()) {
    for (const auto& task : tasks->second) {
      items.emplace_back(ProjectItemKey::task(task), cache_.tasks().at(task).sortIndex);
    }
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.sectionsByProject(), home)) {
    items.emplace_back(ProjectItemKey::section(header), cache_.projectSections().at(header).sortIndex);
  }
  std::ranges::sort(items, byIndex<ProjectItemKey>);
  for (std::size_t position = 0; position < items.size(); ++position) {
    const auto index = std::int64_t(position + 1) * SortIndex::step;
    if (items[position].first.kind == ProjectItemKey::Kind::task) {
      TaskRecord changed = cache_.tasks().at(items[position].first.id);
      changed.sortIndex = index;
      saveRecord(changed);
    } else {
      ProjectSectionRecord changed = cache_.projectSections().at(items[position].first.id);
      changed.sortIndex = index;
      saveRecord(changed);
    }
  }
}

void CloudKitStore::renumberSubtasks(const std::string& parent) {
  std::vector<std::pair<std::string, std::int64_t>> subtasks;
  if (const auto children = cache_.tasksByParent().find(parent); children != cache_.tasksByParent().end()) {
    for (const auto& child : children->second) {
      subtasks.emplace_back(child, cache_.tasks().at(child).sortIndex);
    }
  }
  std::ranges::sort(subtasks, byIndex<std::string>);
  for (std::size_t position = 0; position < subtasks.size(); ++position) {
    TaskRecord changed = cache_.tasks().at(subtasks[position].first);
    changed.sortIndex = std::int64_t(position + 1) * SortIndex::step;
    saveRecord(changed);
  }
}

void CloudKitStore::renumberArea(const std::string& area) {
  std::vector<std::pair<AreaItemKey, std::int64_t>> items;
  if (const auto placed = cache_.projectsInArea().find(area); placed != cache_.projectsInArea().end()) {
    for (const auto& project : placed->second) {
      items.emplace_back(AreaItemKey::project(project), requireMyPlacement(project).sortIndex);
    }
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.areaSectionsByArea(), area)) {
    if (const auto& section = cache_.areaSections().at(header); section.userRef == cache_.currentUserRef()) {
      items.emplace_back(AreaItemKey::section(header), section.sortIndex);
    }
  }
  std::ranges::sort(items, byIndex<AreaItemKey>);
  std::vector<AreaItemKey> order;
  for (const auto& [key, index] : items) {
    order.push_back(key);
  }
  reorderAreaProjects(area, order);
}

std::string CloudKitStore::addTaskBelow(std::string_view referenceTask, std::string_view title) {
  guardWrite();
  const WriteBatch batch(*this);
  const TaskRecord reference = requireTask(referenceTask);
  const auto siblingIndexes = [&] {
    if (!reference.parentTaskRef) {
      return homeItemIndexes(reference.homeRef);
    }
    std::vector<std::int64_t> indexes;
    for (const auto& child : cache_.tasksByParent().at(*reference.parentTaskRef)) {
      indexes.push_back(cache_.tasks().at(child).sortIndex);
    }
    return indexes;
  };
  auto index = indexAfter(reference.sortIndex, siblingIndexes());
  if (!index) {
    reference.parentTaskRef ? renumberSubtasks(*reference.parentTaskRef) : renumberHome(reference.homeRef);
    index = indexAfter(cache_.tasks().at(reference.recordName).sortIndex, siblingIndexes());
  }
  const TaskRecord task{.recordName = newRecordName(RecordNames::taskPrefix),
                        .homeRef = reference.homeRef,
                        .parentTaskRef = reference.parentTaskRef,
                        .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                        .sortIndex = *index};
  saveRecord(task);
  return task.recordName;
}

std::int64_t CloudKitStore::indexAboveFirstSection(const std::string& project) {
  const auto& headers = CloudKitCache::namesIn(cache_.sectionsByProject(), project);
  if (headers.empty()) {
    return SortIndex::appended(homeItemIndexes(project));
  }
  const auto firstHeader = std::ranges::min(headers | std::views::transform([&](const std::string& header) {
                                              return cache_.projectSections().at(header).sortIndex;
                                            }));
  std::optional<std::int64_t> lastTaskAbove;
  for (const auto& task : CloudKitCache::namesIn(cache_.tasksByHome(), project)) {
    if (const auto index = cache_.tasks().at(task).sortIndex; index < firstHeader) {
      lastTaskAbove = std::max(lastTaskAbove.value_or(index), index);
    }
  }
  if (!lastTaskAbove) {
    return firstHeader - SortIndex::step;
  }
  if (const auto index = indexAfter(*lastTaskAbove, homeItemIndexes(project))) {
    return *index;
  }
  // The last task and the header are adjacent: spread the list out and look again.
  renumberHome(project);
  return indexAboveFirstSection(project);
}

std::string CloudKitStore::addTaskBelowHeader(std::string_view header, std::string_view title) {
  guardWrite();
  const WriteBatch batch(*this);
  const auto found = cache_.projectSections().find(std::string(header));
  if (found == cache_.projectSections().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::projectSection, header);
  }
  const ProjectSectionRecord section = found->second;
  auto index = indexAfter(section.sortIndex, homeItemIndexes(section.projectRef));
  if (!index) {
    renumberHome(section.projectRef);
    index = indexAfter(cache_.projectSections().at(section.recordName).sortIndex,
                       homeItemIndexes(section.projectRef));
  }
  const TaskRecord task{.recordName = newRecordName(RecordNames::taskPrefix),
                        .homeRef = section.projectRef,
                        .title = std::string(trimmingWhiteSpaceAndNewlines(title)),
                        .sortIndex = *index};
  saveRecord(task);
  return task.recordName;
}

std::string CloudKitStore::addProjectBelowHeader(std::string_view areaHeader, std::string_view name) {
  guardWrite();
  const WriteBatch batch(*this);
  const auto found = cache_.areaSections().find(std::string(areaHeader));
  if (found == cache_.areaSections().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::areaSection, areaHeader);
  }
  const AreaSectionRecord header = found->second;
  auto index = indexAfter(header.sortIndex, areaItemIndexes(header.areaRef));
  if (!index) {
    renumberArea(header.areaRef);
    index =
        indexAfter(cache_.areaSections().at(header.recordName).sortIndex, areaItemIndexes(header.areaRef));
  }
  const std::string project = addProject(name, header.areaRef);
  setProjectSortIndex(project, *index);
  return project;
}

void CloudKitStore::setProjectStatus(std::string_view project, std::string_view status) {
  guardWrite();
  if (status != ProjectRecord::activeStatus && status != ProjectRecord::archivedStatus) {
    throw std::invalid_argument("unknown project status '" + std::string(status) +
                                "': expected active or archived");
  }
  ProjectRecord changed = requireProject(project);
  changed.status = status;
  saveRecord(changed);
}

void CloudKitStore::setProjectSortIndex(std::string_view project, std::int64_t sortIndex) {
  guardWrite();
  requireProject(project);
  UserProjectPlacementRecord changed = requireMyPlacement(project);
  changed.sortIndex = sortIndex;
  saveRecord(changed);
}

std::string CloudKitStore::triageInboxItem(std::string_view item, std::string_view area,
                                           std::optional<std::string> project, bool alsoAppendNote) {
  guardWrite();
  const WriteBatch batch(*this);
  const auto found = cache_.inbox().find(std::string(item));
  if (found == cache_.inbox().end()) {
    throw CloudKitStoreError::recordNotFound(CKRecordTypes::inboxItem, item);
  }
  const InboxItemRecord captured = found->second;
  const std::string areaRef = requireArea(area).recordName;
  std::optional<ProjectRecord> target;
  if (project) {
    target = requireProject(*project);
  }
  const std::string task = addTask(target ? target->recordName : areaRef, captured.title, NewTaskOptions{});
  if (target && alsoAppendNote) {
    const std::string note = TimeFormat::inboxTriageNote(
        captured.title, captured.notes ? std::optional<std::string_view>(*captured.notes) : std::nullopt,
        captured.capturedAt);
    target->purpose = target->purpose && !target->purpose->empty() ? *target->purpose + "\n" + note : note;
    saveRecord(*target);
  }
  deleteRecord(CKRecordTypes::inboxItem, captured.recordName);
  return task;
}

} // namespace vantrel
