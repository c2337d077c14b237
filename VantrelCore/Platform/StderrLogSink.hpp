#pragma once

#include "VantrelCore/Platform/LogSink.hpp"

#include <cstdio>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// Writes one line per record, "LEVEL [subsystem:category] message", to stderr (or another stream).
///
/// Records below the minimum level are dropped. Private arguments stay redacted unless the settings say
/// otherwise. Line breaks inside a message are written as "\n" so that one record stays one line.
class StderrLogSink : public LogSink {
public:
  struct Settings {
    LogLevel minimumLevel = LogLevel::notice;
    bool showPrivate = false;
  };

  /// VANTREL_LOG_LEVEL (debug|info|notice|error|fault, otherwise notice) and VANTREL_LOG_PRIVATE=1.
  static Settings
  settingsFrom(const std::function<std::optional<std::string>(std::string_view)>& environment);

  /// Settings from the process environment, writing to stderr.
  StderrLogSink();
  /// `stream` must outlive the sink.
  StderrLogSink(Settings settings, std::FILE* stream);

  const Settings& settings() const { return settings_; }
  void write(const LogRecord& record) override;

private:
  Settings settings_;
  std::FILE* stream_;
  std::mutex mutex_;
};

} // namespace vantrel
