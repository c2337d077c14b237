#pragma once

#include <stdexcept>
#include <string>

namespace vantrel {

/// An edited file that cannot be applied as it stands; nothing of it was applied.
class BridgeApplyError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;

  /// "Couldn't parse YYYY-MM-DD: " and the day file's name.
  static BridgeApplyError badDayName(std::string_view name);
  /// "No such area in the cache: " and the area folder's name.
  static BridgeApplyError noSuchArea(std::string_view folder);
  /// "No such project in the cache: " and the project's id.
  static BridgeApplyError noSuchProject(std::string_view project);
  /// The file's `id:` of the project is not the one its name gives.
  static BridgeApplyError projectIDChanged(std::string_view fileLabel, std::string_view expected,
                                           std::string_view found);
};

} // namespace vantrel
