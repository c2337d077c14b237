#include "VantrelCore/Bridge/DayFile.hpp"

#include "VantrelCore/Bridge/BridgeTaskItem.hpp"
#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLNode.hpp"

namespace vantrel {

DayFile DayFile::parse(std::string_view text, std::string fileLabel) {
  const auto root = YAMLDocument::parse(text, std::move(fileLabel));
  root.expectMapping("the file");
  DayFile file{.date = readBridgeDay(root, "date")};
  for (const auto& gap : root.listOf("gaps")) {
    gap.expectMapping("a gap");
    file.gaps.push_back({.time = gap.requiredText("time"),
                         .label = gap.optionalText("label"),
                         .reminder = gap.optionalBoolean("reminder").value_or(false)});
  }
  return file;
}

} // namespace vantrel
