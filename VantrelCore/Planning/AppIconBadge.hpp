#pragma once

#include "VantrelCore/Planning/NotificationRequest.hpp"
#include "VantrelCore/Planning/UserNotificationCenter.hpp"
#include "VantrelCore/Platform/Logger.hpp"

#include <span>

namespace vantrel {

/// The number on the application's icon: the gap reminders that have been shown and not yet seen. The
/// user has seen them once the planner's Today screen is shown, as opening the application clears a badge.
class AppIconBadge {
public:
  explicit AppIconBadge(UserNotificationCenter& center);

  /// The gap reminders among `delivered`: what the badge shows.
  static int count(std::span<const NotificationRequest> delivered);
  /// The badge as the notification center's shown notifications make it now.
  static int count(const UserNotificationCenter& center);

  /// Asks for permission once, while it has not been decided.
  void requestAuthorizationIfNeeded();
  void set(int count);
  /// Today is shown: the shown gap reminders leave the notification list and the badge goes with them.
  void markSeen();

private:
  UserNotificationCenter& center_;
  Logger logger_;
};

} // namespace vantrel
