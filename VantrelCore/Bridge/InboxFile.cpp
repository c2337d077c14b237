#include "VantrelCore/Bridge/InboxFile.hpp"

#include "VantrelCore/Bridge/BridgeTaskItem.hpp"
#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLNode.hpp"

namespace vantrel {

InboxFile InboxFile::parse(std::string_view text, std::string fileLabel) {
  const auto root = YAMLDocument::parse(text, std::move(fileLabel));
  root.expectMapping("the file");
  InboxFile file;
  for (const auto& entry : root.listOf("items")) {
    entry.expectMapping("an inbox item");
    InboxFile::Item item{.id = entry.optionalText("id"),
                         .title = entry.requiredText("title"),
                         .captured = readBridgeInstant(entry, "captured"),
                         .notes = entry.optionalText("notes")};
    file.items.push_back(std::move(item));
  }
  return file;
}

} // namespace vantrel
