#pragma once

#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Planning/UserNotificationCenter.hpp"
#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Platform/VantrelPaths.hpp"

#include <filesystem>
#include <optional>

namespace vantrel {

/// Local notifications on Linux: the permission, the requests waiting for their time, the ones shown and
/// the badge count live in one JSON file of the profile, which the reminders agent reads. Every change
/// locks "<file>.lock", re-reads the file, applies itself and replaces the file atomically, so that the
/// planner and the agent, in two processes, never lose a request. Linux has no permission prompt: asking
/// grants. A file that cannot be understood makes every call throw std::runtime_error naming it, and is
/// never overwritten.
///
/// The badge follows what is shown, as a notification that carries a badge number sets it when it is
/// delivered: handing requests out, adding one again (it waits again, it was not shown) and removing shown
/// ones set it to AppIconBadge::count() of the shown ones. The newest `deliveredLimit` shown ones are kept.
class FileNotificationCenter final : public UserNotificationCenter {
public:
  explicit FileNotificationCenter(std::filesystem::path file,
                                  FileSystem& fileSystem = PosixFileSystem::shared());
  /// "notifications.json" in the profile's app-group folder.
  static std::filesystem::path defaultFile(const VantrelPaths& paths);

  NotificationAuthState authorizationStatus() const override;
  bool requestAuthorization() override;
  std::vector<NotificationRequest> pendingRequests() const override;
  void add(const NotificationRequest& request) override;
  void removePendingRequests(std::span<const std::string> identifiers) override;
  std::vector<NotificationRequest> deliveredRequests() const override;
  void removeDeliveredRequests(std::span<const std::string> identifiers) override;
  void setBadgeCount(int count) override;
  int badgeCount() const;

  static constexpr std::size_t deliveredLimit = 100;

  /// Takes the requests whose time has come out of the waiting ones and answers them, in time order, as
  /// shown: a request is handed out once, whichever process asks.
  std::vector<NotificationRequest> takeDue(Date now);
  /// When the earliest waiting request fires; none when nothing waits.
  std::optional<Date> nextFireDate() const;
  /// The instant a request fires: its wall-clock components in the device zone.
  static std::optional<Date> fireDate(const NotificationRequest& request);

  const std::filesystem::path& file() const { return file_; }

private:
  struct Contents;
  Contents read() const;
  void write(const Contents& contents);
  /// Runs `change` on the contents under the lock and writes the result.
  template <class Change> auto update(Change&& change);

  std::filesystem::path file_;
  FileSystem& fileSystem_;
};

} // namespace vantrel
