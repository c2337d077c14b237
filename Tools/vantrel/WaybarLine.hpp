#pragma once

#include "VantrelCore/Widget/GapWidgetModel.hpp"

#include <string>

namespace vantrel::cli {

/// The widget as one JSON line of a status-bar module (Waybar and the bars that copy its format): "text"
/// for the bar, "tooltip" with the tasks and the gaps to come, and "class" and "alt" naming the state, so
/// that a style sheet can tell a running gap from a waiting one. The bar is where the application's badge
/// shows on this platform: with gap reminders shown and not yet seen (AppIconBadge::count()), the text
/// ends in their number, "· 2 reminders", and the tooltip says so.
std::string waybarLine(const GapWidgetModel& model, int badgeCount = 0);

} // namespace vantrel::cli
