#include "VantrelCore/Model/AreaItem.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {

AreaItem AreaItem::project(ProjectRecord project, std::int64_t placementSortIndex) {
  auto id = project.recordName;
  return AreaItem{std::move(id), placementSortIndex, std::move(project)};
}

AreaItem AreaItem::header(AreaSectionRecord header) {
  auto id = header.recordName;
  const auto sortIndex = header.sortIndex;
  return AreaItem{std::move(id), sortIndex, std::move(header)};
}

void AreaItem::sort(std::vector<AreaItem>& items) {
  std::sort(items.begin(), items.end(), [](const AreaItem& a, const AreaItem& b) {
    return std::tie(a.sortIndex, a.id) < std::tie(b.sortIndex, b.id);
  });
}

} // namespace vantrel
