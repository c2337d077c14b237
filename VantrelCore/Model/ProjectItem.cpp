#include "VantrelCore/Model/ProjectItem.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {

ProjectItem ProjectItem::header(ProjectSectionRecord header) {
  auto id = header.recordName;
  const auto sortIndex = header.sortIndex;
  return ProjectItem{std::move(id), sortIndex, std::move(header)};
}

ProjectItem ProjectItem::task(TaskRecord task) {
  auto id = task.recordName;
  const auto sortIndex = task.sortIndex;
  return ProjectItem{std::move(id), sortIndex, std::move(task)};
}

void ProjectItem::sort(std::vector<ProjectItem>& items) {
  std::sort(items.begin(), items.end(), [](const ProjectItem& a, const ProjectItem& b) {
    return std::tie(a.sortIndex, a.id) < std::tie(b.sortIndex, b.id);
  });
}

} // namespace vantrel
