#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Widget/GapWidgetEnvironment.hpp"
#include "VantrelCore/Widget/TaskEntity.hpp"

#include <span>
#include <string>
#include <vector>

namespace vantrel {

/// Finds tasks for the intents in the cache snapshot the planner shares with the widget; like the
/// widget it never opens the store, and it decodes only the tasks it answers.
class TaskEntityQuery {
public:
  TaskEntityQuery(GapWidgetEnvironment environment, const Clock& clock)
      : environment_(environment), clock_(clock) {}

  /// The tasks with these record names, in the order asked; names the snapshot does not hold are left
  /// out, and so is everything when there is no readable snapshot.
  std::vector<TaskEntity> entities(std::span<const std::string> ids) const;
  /// What a shortcut offers first: the open tasks of today's gaps that are running or still to come, in
  /// the widget's order.
  std::vector<TaskEntity> suggestedEntities() const;

private:
  GapWidgetEnvironment environment_;
  const Clock& clock_;
};

} // namespace vantrel
