#include "VantrelCore/Bridge/BridgeApplyError.hpp"

namespace vantrel {

BridgeApplyError BridgeApplyError::badDayName(std::string_view name) {
  return BridgeApplyError("Couldn't parse YYYY-MM-DD: " + std::string(name));
}

BridgeApplyError BridgeApplyError::noSuchArea(std::string_view folder) {
  return BridgeApplyError("No such area in the cache: " + std::string(folder));
}

BridgeApplyError BridgeApplyError::noSuchProject(std::string_view project) {
  return BridgeApplyError("No such project in the cache: " + std::string(project));
}

BridgeApplyError BridgeApplyError::projectIDChanged(std::string_view fileLabel, std::string_view expected,
                                                    std::string_view found) {
  return BridgeApplyError(std::string(fileLabel) + ": the project's id is '" + std::string(found) +
                          "', but the file is the one of '" + std::string(expected) +
                          "'; ids must stay as they were written");
}

} // namespace vantrel
