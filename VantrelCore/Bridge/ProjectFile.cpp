#include "VantrelCore/Bridge/ProjectFile.hpp"

#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLNode.hpp"
#include "VantrelCore/Bridge/YAMLParseError.hpp"

namespace vantrel {

ProjectFile ProjectFile::parse(std::string_view text, std::string fileLabel) {
  const auto root = YAMLDocument::parse(text, std::move(fileLabel));
  root.expectMapping("the file");
  const auto* project = root.optionalMapping("project");
  if (!project) {
    throw YAMLParseError(root.fileLabel(), root.line(), "missing required key 'project'");
  }
  ProjectFile file{.project = {.id = project->requiredText("id"),
                               .name = project->requiredText("name"),
                               .status = project->requiredText("status"),
                               .purpose = project->optionalText("purpose"),
                               .dueDate = readBridgeDay(*project, "due_date"),
                               .lastEdited = readBridgeInstant(*project, "last_edited")}};
  if (const auto* me = project->optionalMapping("me")) {
    file.project.pinned = me->optionalBoolean("pinned").value_or(false);
    file.project.sortIndex = me->optionalInteger("sort_index");
  }
  for (const auto& item : root.listOf("tasks")) {
    item.expectMapping("a task or a header");
    if (item.find("header")) {
      file.tasks.emplace_back(Header{.title = item.optionalText("header").value_or("")});
    } else {
      file.tasks.emplace_back(BridgeTaskItem::read(item));
    }
  }
  return file;
}

} // namespace vantrel
