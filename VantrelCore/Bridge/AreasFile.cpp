#include "VantrelCore/Bridge/AreasFile.hpp"

#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLNode.hpp"
#include "VantrelCore/Bridge/YAMLParseError.hpp"

namespace vantrel {

AreasFile AreasFile::parse(std::string_view text, std::string fileLabel) {
  const auto root = YAMLDocument::parse(text, std::move(fileLabel));
  root.expectMapping("the file");
  AreasFile file;
  for (const auto& area : root.listOf("areas")) {
    area.expectMapping("an area");
    file.areas.push_back({.folder = area.requiredText("folder"),
                          .name = area.requiredText("name"),
                          .color = area.optionalText("color").value_or(""),
                          .icon = area.optionalText("icon").value_or("")});
  }
  for (const auto& project : root.listOf("pinned")) {
    if (project.kind() != YAMLNode::Kind::scalar) {
      throw YAMLParseError(project.fileLabel(), project.line(), "a pinned project must be its id");
    }
    file.pinned.push_back(project.text());
  }
  return file;
}

} // namespace vantrel
