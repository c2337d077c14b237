#pragma once

#include "VantrelCore/Model/ProjectItemKey.hpp"
#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantrel {

/// Projects, this user's placement of them, and the order of a project's list. Each checks everything
/// before it writes anything.
class ProjectRules {
public:
  explicit ProjectRules(const RuleContext& context) : context_(context) {}

  /// A new active project, filed for this user after the last item of the area.
  std::string add(std::string_view name, std::string_view area,
                  std::optional<std::string> purpose = {}) const;
  /// A new project placed directly after one of this user's area headers.
  std::string addBelowHeader(std::string_view areaHeader, std::string_view name) const;
  void rename(std::string_view project, std::string_view name) const;
  void setPurpose(std::string_view project, std::optional<std::string> purpose) const;
  void setDueDate(std::string_view project, std::optional<Date> dueDate) const;
  /// "active" or "archived"; another text throws std::invalid_argument.
  void setStatus(std::string_view project, std::string_view status) const;
  /// Pins or unpins the project for this user (on the user's placement).
  void setPinned(std::string_view project, bool isPinned) const;
  /// The project's place in the user's area list.
  void setSortIndex(std::string_view project, std::int64_t sortIndex) const;
  /// Deletes the project with everything that only it reaches: its tasks and headers, this user's
  /// placement of it, schedules of its tasks and folding of its headers.
  void remove(std::string_view project) const;
  /// Gives the listed items of the project (tasks and headers) fresh sort indexes in the listed order.
  void reorderItems(std::string_view project, std::span<const ProjectItemKey> newOrder) const;
  /// Marks the projects as checked out to the YAML bridge by this user's device `deviceName`.
  void bridgeLock(std::span<const std::string> projects, std::string_view deviceName, Date lockedAt) const;
  void bridgeUnlock(std::span<const std::string> projects) const;

private:
  void change(std::string_view project, const std::function<void(ProjectRecord&)>& apply) const;
  void changePlacement(std::string_view project,
                       const std::function<void(UserProjectPlacementRecord&)>& apply) const;
  /// Writes one change onto every project, all checked to exist first.
  void changeAll(std::span<const std::string> projects,
                 const std::function<void(ProjectRecord&)>& apply) const;

  const RuleContext& context_;
};

} // namespace vantrel
