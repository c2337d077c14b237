#include "VantrelCore/Platform/StderrLogSink.hpp"

#include <cctype>
#include <cstdlib>

namespace vantrel {
namespace {

std::optional<std::string> processEnvironment(std::string_view name) {
  const char* value = std::getenv(std::string(name).c_str());
  return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace

StderrLogSink::Settings
StderrLogSink::settingsFrom(const std::function<std::optional<std::string>(std::string_view)>& environment) {
  Settings settings;
  if (const auto level = environment("VANTREL_LOG_LEVEL")) {
    settings.minimumLevel = logLevelNamed(*level).value_or(LogLevel::notice);
  }
  settings.showPrivate = environment("VANTREL_LOG_PRIVATE") == "1";
  return settings;
}

StderrLogSink::StderrLogSink() : StderrLogSink(settingsFrom(processEnvironment), stderr) {}

StderrLogSink::StderrLogSink(Settings settings, std::FILE* stream) : settings_(settings), stream_(stream) {}

void StderrLogSink::write(const LogRecord& record) {
  if (record.level < settings_.minimumLevel) {
    return;
  }
  std::string line;
  for (const char letter : logLevelName(record.level)) {
    line += static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  line += " [" + record.subsystem + ":" + record.category + "] ";
  for (const char letter : settings_.showPrivate ? record.message : record.redactedMessage) {
    if (letter == '\n') {
      line += "\\n";
    } else if (letter == '\r') {
      line += "\\r";
    } else {
      line += letter;
    }
  }
  line += '\n';
  std::lock_guard lock(mutex_);
  std::fwrite(line.data(), 1, line.size(), stream_);
  std::fflush(stream_);
}

} // namespace vantrel
