#pragma once

#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Widget/GapWidgetEnvironment.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantrel {

struct GapWidgetData;

/// Everything the widget shows at one instant: the gap of today that is running (or the next one), its
/// tasks, and the gaps still to come.
///
/// A gap is current from its start until its derived end; the widget has no calendar of its own, so only
/// the day's other gaps and the planning window bound it. The tasks are the day plan's: the top-level
/// tasks the user planned into the gap, in the plan's order, each followed by its subtasks; the counts
/// cover the top-level tasks. Toggles waiting in the intent queue show at once.
struct GapWidgetModel {
  enum class State { currentGap, nextGap, noGaps };

  struct Task {
    std::string id{};
    std::string title{};
    bool done = false;
    std::optional<Date> dueDate{};
    bool isSubtask = false;
    /// False for a task of a project shared with the user: its records live in the shared store, which a
    /// queued toggle cannot reach.
    bool canToggle = false;
    friend bool operator==(const Task&, const Task&) = default;
  };

  struct Upcoming {
    std::string label{};
    std::string clockLabel{};
    friend bool operator==(const Upcoming&, const Upcoming&) = default;
  };

  State state = State::noGaps;
  std::optional<std::string> gapRecordName{};
  /// The gap's start as the device's clock shows it ("9:00 AM").
  std::string gapClockLabel{};
  /// The gap's label; its clock label when it has none.
  std::string gapLabel{};
  bool isRunning = false;
  std::vector<Task> tasks{};
  std::int64_t taskCount = 0;
  std::int64_t doneCount = 0;
  std::vector<Upcoming> upcomingGaps{};
  Date asOf{};

  /// "vantrel://today?gap=" and the gap's record name; none without a gap.
  std::optional<std::string> deepLinkURL() const;

  /// The model for `now`: with no readable snapshot, a `noGaps` model with empty lists.
  static GapWidgetModel load(Date now, const GapWidgetEnvironment& environment);
  /// The models for `now` and every later instant of today at which the display changes, up to the start
  /// of tomorrow; empty with no readable snapshot.
  static std::vector<GapWidgetModel> timeline(Date now, const GapWidgetEnvironment& environment);
  /// A fixed sample for the widget gallery: no real data, empty lists.
  static GapWidgetModel placeholder(Date asOf);

  /// The model's fields under their names, instants in ISO 8601 with the device zone's offset, and
  /// "deepLinkURL".
  void writeJSON(JSONWriter& json) const;

  friend bool operator==(const GapWidgetModel&, const GapWidgetModel&) = default;
};

/// "currentGap", "nextGap", "noGaps".
std::string_view gapWidgetStateName(GapWidgetModel::State state);

} // namespace vantrel
