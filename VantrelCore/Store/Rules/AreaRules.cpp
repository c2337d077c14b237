#include "VantrelCore/Store/Rules/AreaRules.hpp"

#include "VantrelCore/Model/RecordNames.hpp"
#include "VantrelCore/Model/SortIndex.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Store/Rules/DistinctKeys.hpp"
#include "VantrelCore/Store/Rules/SortOrder.hpp"
#include "VantrelCore/Sync/CKRecordTypes.hpp"

#include <set>
#include <utility>
#include <vector>

namespace vantrel {

template <class Change> void AreaRules::change(std::string_view area, Change&& apply) const {
  AreaRecord changed = context_.requireArea(area);
  apply(changed);
  context_.writer().save(std::move(changed));
}

std::string AreaRules::add(std::string_view name, std::string color, std::string icon) const {
  const auto& areas = context_.cache().areas();
  AreaRecord area{
      .name = RecordNames::normalizedAreaName(name), .color = std::move(color), .icon = std::move(icon)};
  area.recordName = RecordNames::uniqueAreaRecordName(
      area.name, [&](std::string_view taken) { return areas.contains(std::string(taken)); });
  std::vector<std::int64_t> indexes;
  for (const auto& [recordName, existing] : areas) {
    indexes.push_back(existing.sortIndex);
  }
  area.sortIndex = SortIndex::appended(indexes);
  std::string recordName = area.recordName;
  context_.writer().save(std::move(area));
  return recordName;
}

void AreaRules::rename(std::string_view area, std::string_view name) const {
  change(area, [&](AreaRecord& changed) { changed.name = RecordNames::normalizedAreaName(name); });
}

void AreaRules::setColor(std::string_view area, std::string color) const {
  change(area, [&](AreaRecord& changed) { changed.color = std::move(color); });
}

void AreaRules::setHidden(std::string_view area, bool isHidden) const {
  change(area, [&](AreaRecord& changed) { changed.isHidden = isHidden; });
}

void AreaRules::remove(std::string_view area, const RecordMap<ProjectRecord>& sharedProjects) const {
  const auto& cache = context_.cache();
  const std::string name = context_.requireArea(area).recordName;
  std::int64_t projects = 0;
  for (const auto& project : CloudKitCache::namesIn(cache.projectsInArea(), name)) {
    const auto held = cache.projects().find(project);
    const auto shared = sharedProjects.find(project);
    const ProjectRecord* record = held != cache.projects().end()   ? &held->second
                                  : shared != sharedProjects.end() ? &shared->second
                                                                   : nullptr;
    projects += record && !record->isArchived() ? 1 : 0;
  }
  const auto tasks = std::int64_t(CloudKitCache::namesIn(cache.tasksByHome(), name).size());
  if (projects > 0 || tasks > 0) {
    throw CloudKitStoreError::areaNotEmpty(name, projects, tasks);
  }
  // The server drops the area's headers with it (they point at it with deleteSelf); the cache must too.
  // A copy: each delete changes the index.
  const RecordNameSet headers = CloudKitCache::namesIn(cache.areaSectionsByArea(), name);
  for (const auto& header : headers) {
    context_.writer().remove(CKRecordTypes::areaSection, header);
  }
  context_.writer().remove(CKRecordTypes::area, name);
}

void AreaRules::reorderItems(std::string_view area, std::span<const AreaItemKey> newOrder) const {
  const auto& cache = context_.cache();
  const std::string areaRef = context_.requireArea(area).recordName;
  requireDistinct(newOrder, CKRecordTypes::userProjectPlacement);
  for (const auto& key : newOrder) {
    if (key.kind == AreaItemKey::Kind::project) {
      if (context_.requireMyPlacement(key.id).areaRef != areaRef) {
        throw CloudKitStoreError::recordNotFound(CKRecordTypes::userProjectPlacement, key.id);
      }
    } else if (!cache.areaSections().contains(key.id) || cache.areaSections().at(key.id).areaRef != areaRef) {
      throw CloudKitStoreError::recordNotFound(CKRecordTypes::areaSection, key.id);
    }
  }
  SortOrder(context_).writeOrder(newOrder);
}

void AreaRules::reorderTasks(std::string_view area, std::span<const std::string> taskOrder) const {
  const auto& tasks = context_.cache().tasks();
  const std::string areaRef = context_.requireArea(area).recordName;
  std::set<std::string> seen;
  for (const auto& task : taskOrder) {
    const auto found = tasks.find(task);
    if (found == tasks.end() || found->second.homeRef != areaRef || found->second.isSubtask() ||
        !seen.insert(task).second) {
      throw CloudKitStoreError::recordNotFound(CKRecordTypes::task, task);
    }
  }
  std::vector<ProjectItemKey> order;
  for (const auto& task : taskOrder) {
    order.push_back(ProjectItemKey::task(task));
  }
  SortOrder(context_).writeOrder(std::span<const ProjectItemKey>(order));
}

} // namespace vantrel
