#include "VantrelCore/Planning/AppIconBadge.hpp"

#include <exception>
#include <string>

namespace vantrel {

AppIconBadge::AppIconBadge(UserNotificationCenter& center)
    : center_(center), logger_("com.vantrel.vantrel", "AppIconBadge") {}

void AppIconBadge::requestAuthorizationIfNeeded() {
  if (center_.authorizationStatus() != NotificationAuthState::notDetermined) {
    return;
  }
  try {
    logger_.info("Badge authorization granted=%{bool,public}d", center_.requestAuthorization());
  } catch (const std::exception& error) {
    logger_.error("Badge authorization request failed: %{public}s", error.what());
  }
}

void AppIconBadge::set(int count) {
  // No number shows an empty badge, as the platform clears it.
  const std::string shown = count > 0 ? std::to_string(count) : "";
  try {
    center_.setBadgeCount(count);
    logger_.info("Mac dock badge → %{public}s", shown);
  } catch (const std::exception& error) {
    logger_.error("Badge update failed: %{public}s", error.what());
  }
}

} // namespace vantrel
