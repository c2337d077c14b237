#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// A project: shared content only. Which area it sits in, and whether it is pinned, is per user
/// (`UserProjectPlacementRecord`), so a shared project carries no one's personal arrangement.
struct ProjectRecord {
  static constexpr std::string_view activeStatus = "active";
  static constexpr std::string_view archivedStatus = "archived";

  /// "p-" and six characters.
  std::string recordName{};
  std::string name{};
  /// "active" or "archived", compared by exact text.
  std::string status{activeStatus};
  /// Notes, the project's statement of purpose.
  std::optional<std::string> purpose{};
  std::optional<Date> dueDate{};
  /// The device that holds the project checked out to the YAML bridge, its name, and since when.
  /// The three are set and cleared together.
  std::optional<std::string> bridgeLockedBy{};
  std::optional<std::string> bridgeLockedByName{};
  std::optional<Date> bridgeLockedAt{};

  bool isArchived() const { return status == archivedStatus; }

  static constexpr std::string_view typeName = "ProjectRecord";
  static constexpr auto fields() {
    return std::tuple{RecordField{"recordName", &ProjectRecord::recordName},
                      RecordField{"name", &ProjectRecord::name},
                      RecordField{"status", &ProjectRecord::status},
                      RecordField{"purpose", &ProjectRecord::purpose},
                      RecordField{"dueDate", &ProjectRecord::dueDate},
                      RecordField{"bridgeLockedBy", &ProjectRecord::bridgeLockedBy},
                      RecordField{"bridgeLockedByName", &ProjectRecord::bridgeLockedByName},
                      RecordField{"bridgeLockedAt", &ProjectRecord::bridgeLockedAt}};
  }
  friend bool operator==(const ProjectRecord&, const ProjectRecord&) = default;
};

} // namespace vantrel
