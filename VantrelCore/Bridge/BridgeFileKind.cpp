#include "VantrelCore/Bridge/BridgeFileKind.hpp"

#include <ostream>

namespace vantrel {
namespace {

std::string_view nameOf(BridgeFileKind::Case fileCase) {
  switch (fileCase) {
  case BridgeFileKind::Case::dayYaml:
    return "dayYaml";
  case BridgeFileKind::Case::projectYaml:
    return "projectYaml";
  case BridgeFileKind::Case::areaTasksYaml:
    return "areaTasksYaml";
  case BridgeFileKind::Case::areasYaml:
    return "areasYaml";
  case BridgeFileKind::Case::inboxYaml:
    return "inboxYaml";
  case BridgeFileKind::Case::bridgeMetadata:
    return "bridgeMetadata";
  case BridgeFileKind::Case::temp:
    return "temp";
  case BridgeFileKind::Case::scratchpadLegacy:
    return "scratchpadLegacy";
  case BridgeFileKind::Case::unrecognized:
    return "unrecognized";
  }
  return "unknown case";
}

std::string_view archivedSuffix(bool archived) {
  return archived ? ", archived" : "";
}

} // namespace

std::string BridgeFileKind::description() const {
  std::string text(nameOf(case_));
  if (const auto* dayFile = day()) {
    text += "(" + dayFile->dateText + ")";
  } else if (const auto* projectFile = project()) {
    text += "(" + projectFile->areaFolder + ", " + projectFile->stem +
            std::string(archivedSuffix(projectFile->archived)) + ")";
  } else if (const auto* tasksFile = areaTasks()) {
    text += "(" + tasksFile->areaFolder + std::string(archivedSuffix(tasksFile->archived)) + ")";
  }
  return text;
}

std::ostream& operator<<(std::ostream& stream, const BridgeFileKind& kind) {
  return stream << kind.description();
}

} // namespace vantrel
