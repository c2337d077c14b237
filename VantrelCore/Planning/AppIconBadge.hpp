#pragma once

#include "VantrelCore/Planning/UserNotificationCenter.hpp"
#include "VantrelCore/Platform/Logger.hpp"

namespace vantrel {

/// The number on the application's icon.
class AppIconBadge {
public:
  explicit AppIconBadge(UserNotificationCenter& center);

  /// Asks for permission once, while it has not been decided.
  void requestAuthorizationIfNeeded();
  void set(int count);

private:
  UserNotificationCenter& center_;
  Logger logger_;
};

} // namespace vantrel
