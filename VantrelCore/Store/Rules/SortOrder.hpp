#pragma once

#include "VantrelCore/Model/AreaItemKey.hpp"
#include "VantrelCore/Model/ProjectItemKey.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vantrel {

/// Where items go in the lists the planner shows, and spreading a list out when an item must go between
/// two adjacent ones. A home's list holds its top-level tasks and, for a project, the project's headers;
/// an area's list holds this user's placements of its projects and this user's headers in it.
class SortOrder {
public:
  explicit SortOrder(const RuleContext& context) : context_(context) {}

  std::vector<std::int64_t> homeItemIndexes(const std::string& home) const;
  std::vector<std::int64_t> areaItemIndexes(const std::string& area) const;
  std::vector<std::int64_t> subtaskIndexes(const std::string& parent) const;
  /// The index halfway between `reference` and the next larger sibling (one step past when there is
  /// none); nothing when the two are adjacent.
  static std::optional<std::int64_t> indexAfter(std::int64_t reference,
                                                std::span<const std::int64_t> siblings);
  /// The index directly after an item: halfway to the next sibling, or, when the two are adjacent, the
  /// same once `spread` has renumbered the list. `reference` reads the item's index, which spreading
  /// changes.
  static std::int64_t placeAfter(const std::function<std::int64_t()>& reference,
                                 const std::function<std::vector<std::int64_t>()>& siblings,
                                 const std::function<void()>& spread);
  /// Fresh, evenly spaced indexes for the items (tasks and project headers; placements and area
  /// headers), in the order given.
  void writeOrder(std::span<const ProjectItemKey> items) const;
  void writeOrder(std::span<const AreaItemKey> items) const;
  /// Fresh, evenly spaced indexes for a list's items, in their present order.
  void renumberHome(const std::string& home) const;
  void renumberSubtasks(const std::string& parent) const;
  void renumberArea(const std::string& area) const;
  /// The index of a project's new task placed after the tasks above its first header; the list is spread
  /// out first when there is no room.
  std::int64_t indexAboveFirstSection(const std::string& project) const;

private:
  const RuleContext& context_;
};

} // namespace vantrel
