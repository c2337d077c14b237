#pragma once

#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Platform/WidgetCenter.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"
#include "VantrelCore/Widget/TaskEntity.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// The system intent behind the widget's done toggle and the shortcut: it records the change for the
/// planner and has the widgets show it at once, without opening the store.
struct MarkTaskDoneIntent {
  static constexpr std::string_view title = "Mark Task Done";
  static constexpr std::string_view description = "Marks a Vantrel task done or not done.";
  static constexpr std::string_view taskParameterTitle = "Task";

  TaskEntity task{};
  /// The state to set.
  bool done = true;

  /// Appends the action to the queue and reloads the widgets. A queue that cannot be written is logged;
  /// answers why the action was not recorded (also when the queue has no folder to go to), or none when
  /// it was, so that a caller that can tell a person does.
  [[nodiscard]] std::optional<std::string> perform(IntentActionQueue& queue, WidgetCenter& widgets) const {
    std::optional<std::string> failure;
    if (!queue.fileURL()) {
      failure = "the folder shared with the widget cannot be found";
    } else {
      try {
        queue.appendMarkDone(task.id, done);
      } catch (const std::exception& error) {
        Logger("com.vantrel.vantrel", "Intents").error("Recording intent action failed: %@", error.what());
        failure = error.what();
      }
    }
    widgets.reloadAllTimelines();
    return failure;
  }
};

} // namespace vantrel
