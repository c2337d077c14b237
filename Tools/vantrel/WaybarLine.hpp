#pragma once

#include "VantrelCore/Widget/GapWidgetModel.hpp"

#include <string>

namespace vantrel::cli {

/// The widget as one JSON line of a status-bar module (Waybar and the bars that copy its format): "text"
/// for the bar, "tooltip" with the tasks and the gaps to come, and "class" and "alt" naming the state, so
/// that a style sheet can tell a running gap from a waiting one.
std::string waybarLine(const GapWidgetModel& model);

} // namespace vantrel::cli
