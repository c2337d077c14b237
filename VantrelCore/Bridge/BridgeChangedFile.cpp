#include "VantrelCore/Bridge/BridgeChangedFile.hpp"

#include "VantrelCore/Bridge/BridgeLayout.hpp"

#include <utility>

namespace vantrel {

BridgeChangedFile::Kind BridgeChangedFile::kindOf(const BridgeFileKind& fileKind) {
  switch (fileKind.fileCase()) {
  case BridgeFileKind::Case::projectYaml:
    return Kind::project;
  case BridgeFileKind::Case::areaTasksYaml:
    return Kind::areaTasks;
  case BridgeFileKind::Case::inboxYaml:
    return Kind::inbox;
  case BridgeFileKind::Case::dayYaml:
  case BridgeFileKind::Case::areasYaml:
  case BridgeFileKind::Case::bridgeMetadata:
  case BridgeFileKind::Case::temp:
  case BridgeFileKind::Case::scratchpadLegacy:
  case BridgeFileKind::Case::unrecognized:
    return Kind::unknown;
  }
  return Kind::unknown;
}

BridgeChangedFile BridgeChangedFile::of(std::string relativePath, std::optional<std::string> beforeYAML,
                                        std::optional<std::string> afterYAML) {
  const auto kind = kindOf(BridgeLayout::classify(relativePath, {}));
  return {.relativePath = std::move(relativePath),
          .kind = kind,
          .beforeYAML = std::move(beforeYAML),
          .afterYAML = std::move(afterYAML)};
}

} // namespace vantrel
