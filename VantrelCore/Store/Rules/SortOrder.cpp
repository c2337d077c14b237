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

/// The keys in the order of their present indexes (by name among equal ones).
template <class Key> std::vector<Key> inPresentOrder(std::vector<std::pair<Key, std::int64_t>> items) {
  std::ranges::sort(items, [](const auto& left, const auto& right) {
    return std::tie(left.second, left.first) < std::tie(right.second, right.first);
  });
  std::vector<Key> keys;
  for (auto& [key, index] : items) {
    keys.push_back(std::move(key));
  }
  return keys;
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

std::int64_t SortOrder::placeAfter(const std::function<std::int64_t()>& reference,
                                   const std::function<std::vector<std::int64_t>()>& siblings,
                                   const std::function<void()>& spread) {
  if (const auto index = indexAfter(reference(), siblings())) {
    return *index;
  }
  spread();
  return *indexAfter(reference(), siblings());
}

void SortOrder::writeOrder(std::span<const ProjectItemKey> items) const {
  const auto& cache = context_.cache();
  for (std::size_t position = 0; position < items.size(); ++position) {
    const auto index = std::int64_t(position + 1) * SortIndex::step;
    if (items[position].kind == ProjectItemKey::Kind::task) {
      TaskRecord changed = cache.tasks().at(items[position].id);
      changed.sortIndex = index;
      context_.writer().save(std::move(changed));
    } else {
      ProjectSectionRecord changed = cache.projectSections().at(items[position].id);
      changed.sortIndex = index;
      context_.writer().save(std::move(changed));
    }
  }
}

void SortOrder::writeOrder(std::span<const AreaItemKey> items) const {
  for (std::size_t position = 0; position < items.size(); ++position) {
    const auto index = std::int64_t(position + 1) * SortIndex::step;
    if (items[position].kind == AreaItemKey::Kind::project) {
      UserProjectPlacementRecord changed = context_.requireMyPlacement(items[position].id);
      changed.sortIndex = index;
      context_.writer().save(std::move(changed));
    } else {
      AreaSectionRecord changed = context_.cache().areaSections().at(items[position].id);
      changed.sortIndex = index;
      context_.writer().save(std::move(changed));
    }
  }
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
  writeOrder(std::span<const ProjectItemKey>(inPresentOrder(std::move(items))));
}

void SortOrder::renumberSubtasks(const std::string& parent) const {
  const auto& cache = context_.cache();
  std::vector<std::pair<ProjectItemKey, std::int64_t>> subtasks;
  for (const auto& child : CloudKitCache::namesIn(cache.tasksByParent(), parent)) {
    subtasks.emplace_back(ProjectItemKey::task(child), cache.tasks().at(child).sortIndex);
  }
  writeOrder(std::span<const ProjectItemKey>(inPresentOrder(std::move(subtasks))));
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
  writeOrder(std::span<const AreaItemKey>(inPresentOrder(std::move(items))));
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
