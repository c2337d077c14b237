#pragma once

#include <optional>
#include <string>

namespace vantrel {

/// A local notification waiting for its time: content, and a calendar trigger of wall-clock components
/// in the device zone that fires once.
struct NotificationRequest {
  std::string identifier{};
  std::string title{};
  std::optional<std::string> body{};
  bool playsSound = true;
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;

  friend bool operator==(const NotificationRequest&, const NotificationRequest&) = default;
};

} // namespace vantrel
