#include "VantrelCore/Planning/AppIconBadge.hpp"

#include "VantrelCore/Planning/ScheduledGapReminder.hpp"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace vantrel {

AppIconBadge::AppIconBadge(UserNotificationCenter& center)
    : center_(center), logger_("com.vantrel.vantrel", "AppIconBadge") {}

int AppIconBadge::count(std::span<const NotificationRequest> delivered) {
  return int(std::ranges::count_if(delivered, [](const NotificationRequest& request) {
    return request.identifier.starts_with(ScheduledGapReminder::identifierPrefix);
  }));
}

int AppIconBadge::count(const UserNotificationCenter& center) {
  return count(center.deliveredRequests());
}

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

void AppIconBadge::markSeen() {
  try {
    std::vector<std::string> seen;
    for (const auto& request : center_.deliveredRequests()) {
      if (request.identifier.starts_with(ScheduledGapReminder::identifierPrefix)) {
        seen.push_back(request.identifier);
      }
    }
    center_.removeDeliveredRequests(seen);
    logger_.info("Marked %{public}ld gap reminders seen", std::int64_t(seen.size()));
  } catch (const std::exception& error) {
    logger_.error("Marking gap reminders seen failed: %{public}s", error.what());
    return;
  }
  set(count(center_));
}

} // namespace vantrel
