#pragma once

#include <string_view>

namespace vantrel {

/// Whether the planner may post notifications.
enum class NotificationAuthState { notDetermined, granted, denied };

constexpr std::string_view notificationAuthStateName(NotificationAuthState state) {
  switch (state) {
  case NotificationAuthState::notDetermined:
    return "notDetermined";
  case NotificationAuthState::granted:
    return "granted";
  case NotificationAuthState::denied:
    return "denied";
  }
  return "denied";
}

} // namespace vantrel
