#pragma once

#include "VantrelCore/Model/AreaItemKey.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include <span>
#include <string>
#include <string_view>

namespace vantrel {

/// Areas, and the order of the lists an area shows. Each checks everything before it writes anything.
class AreaRules {
public:
  explicit AreaRules(const RuleContext& context) : context_(context) {}

  /// A new area after the last one; its record name is the unique slug of its (trimmed) name.
  std::string add(std::string_view name, std::string color, std::string icon) const;
  void rename(std::string_view area, std::string_view name) const;
  void setColor(std::string_view area, std::string color) const;
  void setHidden(std::string_view area, bool isHidden) const;
  /// Refused with areaNotEmpty while the area shows a project or holds a task of its own; otherwise deletes
  /// the area with this user's headers in it. The projects it shows are this user's placements in it of
  /// projects that are not archived, held in the cache or among `sharedProjects` (those shared with the
  /// user). An archived project keeps its placement and stays in the archives; a placement whose project
  /// is gone shows nothing.
  void remove(std::string_view area, const RecordMap<ProjectRecord>& sharedProjects) const;
  /// Gives the listed items (this user's placements and headers) fresh indexes in the listed order.
  void reorderItems(std::string_view area, std::span<const AreaItemKey> newOrder) const;
  void reorderTasks(std::string_view area, std::span<const std::string> taskOrder) const;

private:
  template <class Change> void change(std::string_view area, Change&& apply) const;

  const RuleContext& context_;
};

} // namespace vantrel
