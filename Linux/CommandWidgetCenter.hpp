#pragma once

#include "VantrelCore/Platform/WidgetCenter.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// Desktop widgets on Linux are status-bar modules and scripts; each has its own way to be told to
/// refresh (a signal, a socket, a file). So a reload runs the shell command the user configured for it,
/// such as "pkill -RTMIN+8 waybar", and does nothing when none is set.
class CommandWidgetCenter final : public WidgetCenter {
public:
  /// The shared preferences key that holds the command.
  static constexpr std::string_view reloadCommandKey = "com.vantrel.widget.reloadCommand";

  explicit CommandWidgetCenter(std::optional<std::string> command) : command_(std::move(command)) {}

  /// Runs the command with /bin/sh and waits for it; a command that cannot start or fails is logged.
  void reloadAllTimelines() override;

private:
  std::optional<std::string> command_;
};

} // namespace vantrel
