#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// The text of each bridge file as the planner's data stands: the serializer's inputs gathered from the
/// cache, in display order, with the current user's own placements and schedules.
class BridgeRenderer {
public:
  BridgeRenderer() = delete;

  /// Throws std::out_of_range when the cache holds no such project.
  static std::string projectFile(const CloudKitCache& cache, const std::string& project,
                                 std::optional<Date> lastEdited = std::nullopt);
  /// Throws std::out_of_range when the cache holds no such area.
  static std::string areaTasksFile(const CloudKitCache& cache, const std::string& area,
                                   std::optional<Date> lastEdited = std::nullopt);
  static std::string dayFile(const CloudKitCache& cache, const CalendarDate& day);
  static std::string inboxFile(const CloudKitCache& cache);
};

} // namespace vantrel
