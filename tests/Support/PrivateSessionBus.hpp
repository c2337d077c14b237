#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace vantrel::testing {

/// A session bus of the test's own: a dbus-daemon started for the test and stopped with it.
class PrivateSessionBus {
public:
  PrivateSessionBus();
  ~PrivateSessionBus();
  PrivateSessionBus(const PrivateSessionBus&) = delete;
  PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

  const std::string& address() const { return address_; }

private:
  pid_t daemon_ = -1;
  std::string address_;
};

/// A notification server on a bus: owns org.freedesktop.Notifications and records every Notify call,
/// answering ids 1, 2, 3, ...
class RecordingNotificationServer {
public:
  struct Shown {
    std::string appName;
    std::string summary;
    std::string body;
    bool withSound = false;
    /// The "x-vantrel-badge-count" hint.
    std::optional<int> badgeCount{};
  };

  explicit RecordingNotificationServer(const std::string& busAddress);
  ~RecordingNotificationServer();
  RecordingNotificationServer(const RecordingNotificationServer&) = delete;
  RecordingNotificationServer& operator=(const RecordingNotificationServer&) = delete;

  std::vector<Shown> shown() const;

private:
  void serve(const std::string& busAddress);

  mutable std::mutex mutex_;
  std::vector<Shown> shown_;
  bool ready_ = false;
  bool stopping_ = false;
  std::optional<std::string> failure_;
  std::thread thread_;
};

} // namespace vantrel::testing
