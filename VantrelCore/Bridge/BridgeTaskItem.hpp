#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <vector>

namespace vantrel {

class YAMLNode;

/// One task as a project file or an area tasks file lists it.
struct BridgeTaskItem {
  /// The current user's own plan of the task: a day and, on it, a gap's time.
  struct Me {
    std::optional<CalendarDate> date{};
    std::optional<std::string> gap{};
    friend bool operator==(const Me&, const Me&) = default;
  };
  /// Subtasks carry no id: they are known by their place under the parent.
  struct Subtask {
    std::string title{};
    /// None when the editor took the line out: the subtask keeps its state.
    std::optional<bool> done{};
    friend bool operator==(const Subtask&, const Subtask&) = default;
  };

  /// None for a task the editor added.
  std::optional<std::string> id{};
  std::string title{};
  /// None when the editor took the line out: the task keeps its state.
  std::optional<bool> done{};
  std::optional<CalendarDate> dueDate{};
  std::optional<Me> me{};
  std::vector<Subtask> subtasks{};

  /// Throws YAMLParseError naming the file, the line and the key of what does not fit.
  static BridgeTaskItem read(const YAMLNode& item);

  friend bool operator==(const BridgeTaskItem&, const BridgeTaskItem&) = default;
};

/// A day written YYYY-MM-DD under `key`; none when absent. Throws YAMLParseError for anything else.
std::optional<CalendarDate> readBridgeDay(const YAMLNode& mapping, std::string_view key);
/// An instant written YYYY-MM-DDTHH:MM:SSZ under `key`; none when absent. Throws YAMLParseError otherwise.
std::optional<Date> readBridgeInstant(const YAMLNode& mapping, std::string_view key);

} // namespace vantrel
