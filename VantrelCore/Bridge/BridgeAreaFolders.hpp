#pragma once

#include "VantrelCore/Model/AreaRecord.hpp"

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// The folder each area's files go in. An area's folder is the slug of its name, or its record name when
/// the slug cannot be its own; reading back, a folder is an area's when it is that area's record name, or
/// failing that its slug. Writing picks only folders that read back as the same area.
///
/// Both directions must be given the same areas (a session's), in the store's list order.
class BridgeAreaFolders {
public:
  /// Areas claim folders in the order given. An area keeps its slug unless it is unusable:
  /// - an earlier area claimed it;
  /// - it is another area's record name, which reading would take for that area;
  /// - the layout has a folder of that name ("days", "archive").
  /// Then the area falls back to its record name, and a warning line says so. When the record name cannot
  /// name a folder either (reserved, a path rather than a name, or already a folder), the area gets no
  /// folder and its warning line says it is left out.
  static BridgeAreaFolders assign(std::span<const AreaRecord* const> areasInListOrder);

  /// The area's folder; none for an area that was not given or was left out.
  std::optional<std::string> folderOf(std::string_view areaRecordName) const;
  /// One line per area that did not get its slug, in the order given, for the bridge log.
  const std::vector<std::string>& warnings() const { return warnings_; }

  /// The record name of the area `folder` belongs to: the first area whose record name is `folder`, else
  /// the first whose slug is; none when neither.
  static std::optional<std::string> areaOfFolder(std::string_view folder,
                                                 std::span<const AreaRecord* const> areasInListOrder);

private:
  std::map<std::string, std::string, std::less<>> folders_;
  std::vector<std::string> warnings_;
};

} // namespace vantrel
