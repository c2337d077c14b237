#pragma once

#include <string>
#include <string_view>

namespace vantrel {

/// A task as shortcuts and the widget's intents name it: by record name, shown by its title.
struct TaskEntity {
  static constexpr std::string_view typeDisplayName = "Task";

  /// The task's record name.
  std::string id{};
  std::string title{};

  const std::string& displayRepresentation() const { return title; }

  friend bool operator==(const TaskEntity&, const TaskEntity&) = default;
};

} // namespace vantrel
