#pragma once

#include "VantrelCore/Widget/AppRoute.hpp"

#include <functional>
#include <optional>
#include <utility>

namespace vantrel {

/// Where the focused window publishes the route it shows, for the menu commands (which act on "the
/// current project" or "the current day") to read. None while no window is focused.
class CurrentAppRouteKey {
public:
  /// The focused window's route; none while no window is focused.
  const std::optional<AppRoute>& value() const { return value_; }

  /// Called by the window that gains focus with its route, and with none when the last one loses it.
  /// Tells `onChange` only when the route differs from the one published before.
  void publish(std::optional<AppRoute> route) {
    if (route == value_) {
      return;
    }
    value_ = std::move(route);
    if (onChange) {
      onChange();
    }
  }

  /// Called after the published route has changed, and only then.
  std::function<void()> onChange;

private:
  std::optional<AppRoute> value_{};
};

} // namespace vantrel
