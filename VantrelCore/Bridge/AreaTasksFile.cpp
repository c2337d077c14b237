#include "VantrelCore/Bridge/AreaTasksFile.hpp"

#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLNode.hpp"

namespace vantrel {

AreaTasksFile AreaTasksFile::parse(std::string_view text, std::string fileLabel) {
  const auto root = YAMLDocument::parse(text, std::move(fileLabel));
  root.expectMapping("the file");
  AreaTasksFile file;
  for (const auto& item : root.listOf("tasks")) {
    file.tasks.push_back(BridgeTaskItem::read(item));
  }
  return file;
}

} // namespace vantrel
