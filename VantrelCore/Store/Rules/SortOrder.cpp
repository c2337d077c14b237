#include "VantrelCore/Store/Rules/SortOrder.hpp"

#include "VantrelCore/Model/AreaItemKey.hpp"
#include "VantrelCore/Model/ProjectItemKey.hpp"
#include "VantrelCore/Model/SortIndex.hpp"

#include <algorithm>
#include <ranges>
#include <tuple>
#include <utility>

namespace vantrel {
namespace {

template <class Key>
bool byIndex(const std::pair<Key, std::int64_t>& left, const std::pair<Key, std::int64_t>& right) {
  return std::tie(left.second, left.first) < std::tie(right.second, right.first);
}

} // namespace

std::vector<std::int64_t> SortOrder::homeItemIndexes(const std::string& home) const {
  const auto& cache = context_.cache();
  std::vector<std::int64_t> indexes;
  for (const auto& task : CloudKitCache::namesIn(cache.tasksByHome(), home)) {
    indexes.push_back(cache.tasks().at(task).sortIndex);
  }
  for (const auto& header : CloudKitCache::namesIn(cache.sectionsByProject(), home)) {
    indexes.push_back(cache.projectSections().at(header).sortIndex);
  }
  return indexes;
}

std::vector<std::int64_t> SortOrder::areaItemIndexes(const std::string& area) const {
  const auto& cache = context_.cache();
  std::vector<std::int64_t> indexes;
  for (const auto& project : CloudKitCache::namesIn(cache.projectsInArea(), area)) {
    indexes.push_back(context_.requireMyPlacement(project).sortIndex);
  }
  for (const auto& header : CloudKitCache::namesIn(cache.areaSectionsByArea(), area)) {
    if (const auto& section = cache.areaSections().at(header); section.userRef == cache.currentUserRef()) {
      indexes.push_back(section.sortIndex);
    }
  }
  return indexes;
}

std::vector<std::int64_t> SortOrder::subtaskIndexes(const std::string& parent) const {
  const auto& cache = context_.cache();
  std::vector<std::int64_t> indexes;
  for (const auto& child : CloudKitCache::namesIn(cache.tasksByParent(), parent)) {
    indexes.push_back(cache.tasks().at(child).sortIndex);
  }
  return indexes;
}

std::optional<std::int64_t> SortOrder::indexAfter(std::int64_t reference,
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

std::int64_t SortOrder::orderedIndex(std::size_t position) {
  return std::int64_t(position + 1) * SortIndex::step;
}

void SortOrder::renumberHome(const std::string& home) const {
  const auto& cache = context_.cache();
  std::vector<std::pair<ProjectItemKey, std::int64_t>> items;
  for (const auto& task : CloudKitCache::namesIn(cache.tasksByHome(), home)) {
    items.emplace_back(ProjectItemKey::task(task), cache.tasks().at(task).sortIndex);
  }
  for (const auto& header : CloudKitCache::namesIn(cache.sectionsByProject(), home)) {
    items.emplace_back(ProjectItemKey::section(header), cache.projectSections().at(header).sortIndex);
  }
  std::ranges::sort(items, byIndex<ProjectItemKey>);
  for (std::size_t position = 0; position < items.size(); ++position) {
    const auto& key = items[position].first;
    if (key.kind == ProjectItemKey::Kind::task) {
      TaskRecord changed = cache.tasks().at(key.id);
      changed.sortIndex = orderedIndex(position);
      context_.writer().save(std::move(changed));
    } else {
      ProjectSectionRecord changed = cache.projectSections().at(key.id);
      changed.sortIndex = orderedIndex(position);
      context_.writer().save(std::move(changed));
    }
  }
}

void SortOrder::renumberSubtasks(const std::string& parent) const {
  const auto& cache = context_.cache();
  std::vector<std::pair<std::string, std::int64_t>> subtasks;
  for (const auto& child : CloudKitCache::namesIn(cache.tasksByParent(), parent)) {
    subtasks.emplace_back(child, cache.tasks().at(child).sortIndex);
  }
  std::ranges::sort(subtasks, byIndex<std::string>);
  for (std::size_t position = 0; position < subtasks.size(); ++position) {
    TaskRecord changed = cache.tasks().at(subtasks[position].first);
    changed.sortIndex = orderedIndex(position);
    context_.writer().save(std::move(changed));
  }
}

void SortOrder::renumberArea(const std::string& area) const {
  const auto& cache = context_.cache();
  std::vector<std::pair<AreaItemKey, std::int64_t>> items;
  for (const auto& project : CloudKitCache::namesIn(cache.projectsInArea(), area)) {
    items.emplace_back(AreaItemKey::project(project), context_.requireMyPlacement(project).sortIndex);
  }
  for (const auto& header : CloudKitCache::namesIn(cache.areaSectionsByArea(), area)) {
    if (const auto& section = cache.areaSections().at(header); section.userRef == cache.currentUserRef()) {
      items.emplace_back(AreaItemKey::section(header), section.sortIndex);
    }
  }
  std::ranges::sort(items, byIndex<AreaItemKey>);
  for (std::size_t position = 0; position < items.size(); ++position) {
    const auto& key = items[position].first;
    if (key.kind == AreaItemKey::Kind::project) {
      UserProjectPlacementRecord changed = context_.requireMyPlacement(key.id);
      changed.sortIndex = orderedIndex(position);
      context_.writer().save(std::move(changed));
    } else {
      AreaSectionRecord changed = cache.areaSections().at(key.id);
      changed.sortIndex = orderedIndex(position);
      context_.writer().save(std::move(changed));
    }
  }
}

std::int64_t SortOrder::indexAboveFirstSection(const std::string& project) const {
  const auto& cache = context_.cache();
  const auto& headers = CloudKitCache::namesIn(cache.sectionsByProject(), project);
  if (headers.empty()) {
    return SortIndex::appended(homeItemIndexes(project));
  }
  const auto firstHeader = std::ranges::min(headers | std::views::transform([&](const std::string& header) {
                                              return cache.projectSections().at(header).sortIndex;
                                            }));
  std::optional<std::int64_t> lastTaskAbove;
  for (const auto& task : CloudKitCache::namesIn(cache.tasksByHome(), project)) {
    if (const auto index = cache.tasks().at(task).sortIndex; index < firstHeader) {
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

} // namespace vantrel
