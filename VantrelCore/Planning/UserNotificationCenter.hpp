#pragma once

#include "VantrelCore/Planning/NotificationAuthState.hpp"
#include "VantrelCore/Planning/NotificationRequest.hpp"

#include <span>
#include <string>
#include <vector>

namespace vantrel {

/// The platform's local notifications: permission, the requests waiting for their time, the ones shown,
/// and the number on the application's icon. Calls throw std::runtime_error when the platform refuses.
class UserNotificationCenter {
public:
  virtual ~UserNotificationCenter() = default;

  virtual NotificationAuthState authorizationStatus() const = 0;
  /// Asks for alerts, sounds and the badge; answers whether they were granted.
  virtual bool requestAuthorization() = 0;
  virtual std::vector<NotificationRequest> pendingRequests() const = 0;
  virtual void add(const NotificationRequest& request) = 0;
  virtual void removePendingRequests(std::span<const std::string> identifiers) = 0;
  /// The notifications shown and still in the user's notification list, oldest first.
  virtual std::vector<NotificationRequest> deliveredRequests() const = 0;
  virtual void removeDeliveredRequests(std::span<const std::string> identifiers) = 0;
  virtual void setBadgeCount(int count) = 0;
};

} // namespace vantrel
