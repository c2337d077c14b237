#include "Tools/vantrel/WaybarLine.hpp"

#include "Tools/vantrel/TerminalText.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"

namespace vantrel::cli {
namespace {

// The bar shows labels and titles as text on one line: a newline or a bidi override in one would break
// the bar's layout or disguise the text, so they are shown escaped as on a terminal.

/// "9:00 AM Deep work", or only the clock when the gap has no label of its own.
std::string gapTitle(const std::string& clockLabel, const std::string& label) {
  return label == clockLabel ? clockLabel : clockLabel + " " + terminalText(label);
}

std::string barText(const GapWidgetModel& model) {
  switch (model.state) {
  case GapWidgetModel::State::currentGap:
    return terminalText(model.gapLabel) + (model.taskCount > 0 ? " · " + std::to_string(model.doneCount) +
                                                                     "/" + std::to_string(model.taskCount)
                                                               : "");
  case GapWidgetModel::State::nextGap:
    return "Next: " + gapTitle(model.gapClockLabel, model.gapLabel);
  case GapWidgetModel::State::noGaps:
    break;
  }
  return "No more gaps today";
}

std::string tooltip(const GapWidgetModel& model) {
  if (model.state == GapWidgetModel::State::noGaps) {
    return "No more gaps today";
  }
  std::string text = (model.isRunning ? "Now: " : "Next: ") + gapTitle(model.gapClockLabel, model.gapLabel);
  for (const auto& task : model.tasks) {
    text += "\n" + std::string(task.isSubtask ? "    " : "") + (task.done ? "☑ " : "☐ ") +
            terminalText(task.title);
  }
  if (model.tasks.empty()) {
    text += "\nNo tasks planned";
  }
  if (!model.upcomingGaps.empty()) {
    text += "\n\nLater today:";
    for (const auto& upcoming : model.upcomingGaps) {
      text += "\n" + gapTitle(upcoming.clockLabel, upcoming.label);
    }
  }
  return text;
}

/// "1 reminder", "2 reminders".
std::string reminders(int count) {
  return std::to_string(count) + (count == 1 ? " reminder" : " reminders");
}

} // namespace

std::string waybarLine(const GapWidgetModel& model, int badgeCount) {
  const bool badged = badgeCount > 0;
  JSONWriter json;
  json.startObject();
  json.key("text");
  json.string(barText(model) + (badged ? " · " + reminders(badgeCount) : ""));
  json.key("tooltip");
  json.string(tooltip(model) + (badged ? "\n\n" + reminders(badgeCount) + " not seen yet" : ""));
  json.key("class");
  json.string(gapWidgetStateName(model.state));
  json.key("alt");
  json.string(gapWidgetStateName(model.state));
  json.endObject();
  return json.takeText();
}

} // namespace vantrel::cli
