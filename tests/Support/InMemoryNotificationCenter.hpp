#pragma once

#include "VantrelCore/Planning/UserNotificationCenter.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace vantrel::testing {

/// Notification requests in memory, with the permission the test sets and adds that fail on demand.
class InMemoryNotificationCenter final : public UserNotificationCenter {
public:
  NotificationAuthState status = NotificationAuthState::granted;
  /// What requestAuthorization() turns the status into.
  NotificationAuthState grantedOnRequest = NotificationAuthState::granted;
  std::vector<NotificationRequest> pending;
  std::vector<NotificationRequest> delivered;
  /// Identifiers whose add fails.
  std::set<std::string> refusing;
  int badge = 0;

  NotificationAuthState authorizationStatus() const override { return status; }
  bool requestAuthorization() override {
    status = grantedOnRequest;
    return status == NotificationAuthState::granted;
  }
  std::vector<NotificationRequest> pendingRequests() const override { return pending; }
  void add(const NotificationRequest& request) override {
    if (refusing.contains(request.identifier)) {
      throw std::runtime_error("the notification center refused it");
    }
    std::erase_if(pending,
                  [&](const NotificationRequest& held) { return held.identifier == request.identifier; });
    pending.push_back(request);
  }
  void removePendingRequests(std::span<const std::string> identifiers) override {
    std::erase_if(pending, [&](const NotificationRequest& held) {
      return std::ranges::find(identifiers, held.identifier) != identifiers.end();
    });
  }
  std::vector<NotificationRequest> deliveredRequests() const override { return delivered; }
  void removeDeliveredRequests(std::span<const std::string> identifiers) override {
    std::erase_if(delivered, [&](const NotificationRequest& held) {
      return std::ranges::find(identifiers, held.identifier) != identifiers.end();
    });
  }
  void setBadgeCount(int count) override { badge = count; }
};

} // namespace vantrel::testing
