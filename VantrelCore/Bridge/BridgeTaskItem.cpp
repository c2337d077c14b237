#include "VantrelCore/Bridge/BridgeTaskItem.hpp"

#include "VantrelCore/Bridge/YAMLNode.hpp"
#include "VantrelCore/Bridge/YAMLParseError.hpp"
#include "VantrelCore/Model/LastEditedFormat.hpp"

namespace vantrel {

std::optional<CalendarDate> readBridgeDay(const YAMLNode& mapping, std::string_view key) {
  const auto text = mapping.optionalText(key);
  if (!text) {
    return std::nullopt;
  }
  const auto day = CalendarDate::parse(*text);
  if (!day) {
    throw YAMLParseError(mapping.fileLabel(), mapping.find(key)->line(),
                         "'" + std::string(key) + "' must be a day written YYYY-MM-DD, not '" + *text + "'");
  }
  return day;
}

std::optional<Date> readBridgeInstant(const YAMLNode& mapping, std::string_view key) {
  const auto text = mapping.optionalText(key);
  if (!text) {
    return std::nullopt;
  }
  const auto instant = LastEditedFormat::date(*text);
  if (!instant) {
    throw YAMLParseError(mapping.fileLabel(), mapping.find(key)->line(),
                         "'" + std::string(key) + "' must be an instant written YYYY-MM-DDTHH:MM:SSZ, not '" +
                             *text + "'");
  }
  return instant;
}

BridgeTaskItem BridgeTaskItem::read(const YAMLNode& item) {
  item.expectMapping("a task");
  BridgeTaskItem task{.id = item.optionalText("id"),
                      .title = item.requiredText("title"),
                      .done = item.optionalBoolean("done"),
                      .dueDate = readBridgeDay(item, "due_date")};
  if (const auto* me = item.optionalMapping("me")) {
    task.me = Me{.date = readBridgeDay(*me, "date"), .gap = me->optionalText("gap")};
  }
  for (const auto& subtask : item.listOf("subtasks")) {
    subtask.expectMapping("a subtask");
    task.subtasks.push_back(
        {.title = subtask.requiredText("title"), .done = subtask.optionalBoolean("done")});
  }
  return task;
}

} // namespace vantrel
