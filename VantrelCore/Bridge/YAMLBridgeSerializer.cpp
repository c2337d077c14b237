#include "VantrelCore/Bridge/YAMLBridgeSerializer.hpp"

#include "VantrelCore/Bridge/YAMLScalar.hpp"
#include "VantrelCore/Model/LastEditedFormat.hpp"

#include <algorithm>

namespace vantrel {
namespace {

/// Lines joined with line feeds, the file ending in one.
class Lines {
public:
  Lines& operator<<(std::string_view line) {
    text_.append(line);
    text_ += '\n';
    return *this;
  }
  std::string take() { return std::move(text_); }

private:
  std::string text_;
};

std::string key(int indent, std::string_view name, std::string_view value) {
  return std::string(std::size_t(indent), ' ') + std::string(name) + ": " + std::string(value);
}

std::string boolean(bool value) {
  return value ? "true" : "false";
}

/// A planned day is stored as that day's noon UTC.
std::string plannedDay(Date instant) {
  return CalendarDate::utcDayOf(instant).description();
}

/// A deadline is an instant; the file shows the day it falls on where the user is.
std::string dueDay(Date instant) {
  return CalendarDate::localDayOf(instant).description();
}

/// A comment holds one line: a line break in a name would end it and turn the rest into YAML.
std::string commentText(std::string_view text) {
  std::string line(text);
  std::ranges::replace_if(
      line, [](char character) { return character == '\n' || character == '\r'; }, ' ');
  return line;
}

/// A task item: "- id:" at `indent`, its keys two blanks further in.
void writeTask(Lines& lines, int indent, const TaskRecord& task,
               const YAMLBridgeSerializer::Schedules& schedules,
               const YAMLBridgeSerializer::Subtasks& subtasks) {
  const std::string dash(std::size_t(indent), ' ');
  const int inner = indent + 2;
  lines << dash + "- id: " + task.recordName;
  lines << key(inner, "title", YAMLScalar::quoted(task.title));
  lines << key(inner, "done", boolean(task.done));
  if (task.dueDate) {
    lines << key(inner, "due_date", dueDay(*task.dueDate));
  }
  if (const auto schedule = schedules.find(task.recordName);
      schedule != schedules.end() && (schedule->second.date || schedule->second.gapTime)) {
    lines << std::string(std::size_t(inner), ' ') + "me:";
    if (schedule->second.date) {
      lines << key(inner + 2, "date", plannedDay(*schedule->second.date));
    }
    if (schedule->second.gapTime) {
      lines << key(inner + 2, "gap", YAMLScalar::doubleQuoted(*schedule->second.gapTime));
    }
  }
  if (const auto children = subtasks.find(task.recordName);
      children != subtasks.end() && !children->second.empty()) {
    lines << std::string(std::size_t(inner), ' ') + "subtasks:";
    for (const auto& subtask : children->second) {
      lines << std::string(std::size_t(inner + 2), ' ') + "- title: " + YAMLScalar::quoted(subtask.title);
      lines << key(inner + 4, "done", boolean(subtask.done));
    }
  }
}

} // namespace

std::string YAMLBridgeSerializer::renderAreas(std::span<const AreaEntry> areas,
                                              std::span<const std::string> pinnedProjectRefs) {
  Lines lines;
  lines << "# Area metadata. UI concerns only.";
  lines << "areas:";
  for (const auto& [folder, area] : areas) {
    lines << "  - folder: " + folder;
    lines << key(4, "name", YAMLScalar::quoted(area.name));
    lines << key(4, "color", YAMLScalar::quoted(area.color));
    lines << key(4, "icon", YAMLScalar::quoted(area.icon));
  }
  if (!pinnedProjectRefs.empty()) {
    lines << "pinned:";
    for (const auto& project : pinnedProjectRefs) {
      lines << "  - " + project;
    }
  }
  return lines.take();
}

std::string YAMLBridgeSerializer::renderInbox(std::span<const InboxItemRecord> items) {
  Lines lines;
  lines << "# Inbox. captured items awaiting triage."
        << ""
        << "items:";
  for (const auto& item : items) {
    lines << "  - id: " + item.recordName;
    lines << key(4, "title", YAMLScalar::quoted(item.title));
    lines << key(4, "captured", LastEditedFormat::string(item.capturedAt));
    lines << key(4, "notes", item.notes && !item.notes->empty() ? YAMLScalar::quoted(*item.notes) : "~");
  }
  return lines.take();
}

std::string YAMLBridgeSerializer::renderDay(const CalendarDate& date, std::span<const GapRecord> gaps) {
  Lines lines;
  lines << "# Day file. gaps for " + date.description() + ". Tasks are NOT stored here;";
  lines << "# they are queried from project files whose tasks have date == this date.";
  lines << "date: " + date.description();
  lines << "gaps:";
  for (const auto& gap : gaps) {
    lines << "  - time: " + YAMLScalar::doubleQuoted(gap.time);
    if (gap.label && !gap.label->empty()) {
      lines << key(4, "label", YAMLScalar::quoted(*gap.label));
    }
    if (gap.reminder) {
      lines << key(4, "reminder", "true");
    }
  }
  return lines.take();
}

std::string YAMLBridgeSerializer::renderProject(const ProjectRecord& project,
                                                std::span<const ProjectItem> items,
                                                std::optional<Date> lastEdited,
                                                const UserProjectPlacementRecord* myPlacement,
                                                const Schedules& mySchedules, const Subtasks& subtasks) {
  Lines lines;
  lines << "project:";
  lines << key(2, "id", project.recordName);
  lines << key(2, "name", YAMLScalar::quoted(project.name));
  lines << key(2, "status", YAMLScalar::quoted(project.status));
  if (project.purpose && !project.purpose->empty() && !YAMLScalar::fitsLiteralBlock(*project.purpose)) {
    lines << key(2, "purpose", YAMLScalar::exactlyQuoted(*project.purpose));
  } else if (project.purpose && !project.purpose->empty()) {
    std::string_view purpose = *project.purpose;
    // A reader takes the block's indentation from its first line with text; when that line begins with
    // blanks of its own, the indentation is stated so that they stay part of the text.
    const auto firstText = purpose.find_first_not_of('\n');
    lines << (firstText != std::string_view::npos && (purpose[firstText] == ' ' || purpose[firstText] == '\t')
                  ? "  purpose: |2-"
                  : "  purpose: |-");
    while (true) {
      const auto end = purpose.find('\n');
      const auto line = purpose.substr(0, end);
      lines << (line.empty() ? std::string() : "    " + std::string(line));
      if (end == std::string_view::npos) {
        break;
      }
      purpose.remove_prefix(end + 1);
    }
  }
  if (project.dueDate) {
    lines << key(2, "due_date", dueDay(*project.dueDate));
  }
  if (lastEdited) {
    lines << key(2, "last_edited", LastEditedFormat::string(*lastEdited));
  }
  if (myPlacement) {
    lines << "  me:";
    if (myPlacement->isPinned) {
      lines << key(4, "pinned", "true");
    }
    lines << key(4, "sort_index", std::to_string(myPlacement->sortIndex));
  }
  lines << "tasks:";
  for (const auto& item : items) {
    if (const auto* header = std::get_if<ProjectSectionRecord>(&item.kind)) {
      lines << "  - header: " + YAMLScalar::quoted(header->title);
    } else {
      writeTask(lines, 2, std::get<TaskRecord>(item.kind), mySchedules, subtasks);
    }
  }
  return lines.take();
}

std::string YAMLBridgeSerializer::renderAreaTasks(const AreaRecord& area, std::span<const TaskRecord> tasks,
                                                  std::optional<Date> lastEdited,
                                                  const Schedules& mySchedules, const Subtasks& subtasks) {
  Lines lines;
  lines << "# " + commentText(area.name) + "'s own tasks. No `project:` wrapper.";
  lines << "# These tasks belong to the area directly, not to any project.";
  if (lastEdited) {
    lines << "last_edited: " + LastEditedFormat::string(*lastEdited);
  }
  lines << "tasks:";
  for (const auto& task : tasks) {
    writeTask(lines, 2, task, mySchedules, subtasks);
  }
  return lines.take();
}

} // namespace vantrel
