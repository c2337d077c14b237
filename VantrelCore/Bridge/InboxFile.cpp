#include "VantrelCore/Bridge/InboxFile.hpp"

#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLNode.hpp"
#include "VantrelCore/Bridge/YAMLParseError.hpp"
#include "VantrelCore/Model/LastEditedFormat.hpp"

namespace vantrel {

InboxFile InboxFile::parse(std::string_view text, std::string fileLabel) {
  const auto root = YAMLDocument::parse(text, std::move(fileLabel));
  root.expectMapping("the file");
  InboxFile file;
  for (const auto& entry : root.listOf("items")) {
    entry.expectMapping("an inbox item");
    InboxFile::Item item{.id = entry.optionalText("id"),
                         .title = entry.requiredText("title"),
                         .notes = entry.optionalText("notes")};
    if (const auto captured = entry.optionalText("captured")) {
      item.captured = LastEditedFormat::date(*captured);
      if (!item.captured) {
        throw YAMLParseError(entry.fileLabel(), entry.find("captured")->line(),
                             "'captured' must be an instant written YYYY-MM-DDTHH:MM:SSZ, not '" + *captured +
                                 "'");
      }
    }
    file.items.push_back(std::move(item));
  }
  return file;
}

} // namespace vantrel
