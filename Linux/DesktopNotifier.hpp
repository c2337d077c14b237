#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sd_bus;

namespace vantrel {

/// Shows notifications through the desktop's notification server (org.freedesktop.Notifications on the
/// session bus), as "Vantrel". Throws std::runtime_error with the bus's own error text.
class DesktopNotifier {
public:
  /// Connects to the session bus at `busAddress`, or to the user's session bus.
  explicit DesktopNotifier(const std::optional<std::string>& busAddress = std::nullopt);
  ~DesktopNotifier();
  DesktopNotifier(const DesktopNotifier&) = delete;
  DesktopNotifier& operator=(const DesktopNotifier&) = delete;

  /// The hint that carries the application's badge count (an int32). Freedesktop notifications have no
  /// badge: a server or a script that shows one reads this; others ignore it, as the protocol asks of
  /// unknown hints.
  static constexpr const char* badgeCountHint = "x-vantrel-badge-count";

  /// Answers the id the server gave the notification. With a badge count (AppIconBadge::count() once the
  /// notification counts as shown) the notification carries it as the badgeCountHint hint.
  std::uint32_t show(std::string_view summary, const std::optional<std::string>& body, bool playsSound,
                     std::optional<int> badgeCount = std::nullopt);

private:
  sd_bus* bus_ = nullptr;
};

} // namespace vantrel
