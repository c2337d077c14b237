#include "VantrelCore/Platform/Logger.hpp"

#include "VantrelCore/Platform/StderrLogSink.hpp"
#include "VantrelCore/Platform/SystemClock.hpp"

#include <charconv>
#include <mutex>
#include <optional>
#include <utility>

namespace vantrel {
namespace {

struct SinkSlot {
  std::mutex mutex;
  std::shared_ptr<LogSink> sink = std::make_shared<StderrLogSink>();
};

// Never destroyed: objects torn down at exit may still log.
SinkSlot& sinkSlot() {
  static auto* slot = new SinkSlot;
  return *slot;
}

enum class Privacy { unspecified, publicValue, privateValue };

struct Placeholder {
  Privacy privacy = Privacy::unspecified;
  bool asBool = false;
  std::optional<int> precision;
  char conversion = 0;

  bool isPrivate() const {
    if (privacy != Privacy::unspecified) {
      return privacy == Privacy::privateValue;
    }
    return conversion == 's' || conversion == '@';
  }
};

void applyAnnotations(std::string_view annotations, Placeholder& placeholder) {
  while (!annotations.empty()) {
    const auto comma = annotations.find(',');
    std::string_view word = annotations.substr(0, comma);
    annotations = comma == std::string_view::npos ? std::string_view() : annotations.substr(comma + 1);
    while (!word.empty() && word.front() == ' ') {
      word.remove_prefix(1);
    }
    while (!word.empty() && word.back() == ' ') {
      word.remove_suffix(1);
    }
    // Annotations the unified log knows but we do not render differently (time_t, errno, ...) are ignored.
    if (word == "public") {
      placeholder.privacy = Privacy::publicValue;
    } else if (word == "private") {
      placeholder.privacy = Privacy::privateValue;
    } else if (word == "bool") {
      placeholder.asBool = true;
    }
  }
}

/// Reads the placeholder starting at format[0] == '%'. Answers its length and, when it is one we render,
/// the placeholder; anything else is copied verbatim and takes no argument.
std::pair<std::size_t, std::optional<Placeholder>> parsePlaceholder(std::string_view format) {
  Placeholder placeholder;
  std::size_t index = 1;
  if (index < format.size() && format[index] == '{') {
    const auto close = format.find('}', index);
    if (close == std::string_view::npos) {
      return {format.size(), std::nullopt};
    }
    applyAnnotations(format.substr(index + 1, close - index - 1), placeholder);
    index = close + 1;
  }
  if (index < format.size() && format[index] == '.') {
    int precision = 0;
    ++index;
    while (index < format.size() && format[index] >= '0' && format[index] <= '9' && precision < 100) {
      precision = precision * 10 + (format[index] - '0');
      ++index;
    }
    placeholder.precision = precision;
  }
  while (index < format.size() && std::string_view("hlqjztL").find(format[index]) != std::string_view::npos) {
    ++index;
  }
  if (index >= format.size()) {
    return {format.size(), std::nullopt};
  }
  const char conversion = format[index];
  const bool known = std::string_view("diuf@s").find(conversion) != std::string_view::npos;
  if (!known || (placeholder.precision && conversion != 'f')) {
    return {index + 1, std::nullopt};
  }
  placeholder.conversion = conversion;
  return {index + 1, placeholder};
}

template <typename T> std::string numberText(T value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string fixedText(double value, int precision) {
  char buffer[512];
  const auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, precision);
  if (result.ec != std::errc()) {
    return numberText(value);
  }
  return std::string(buffer, result.ptr);
}

/// The value as it reads without a placeholder to shape it.
std::string naturalText(const LogArgument::Value& value) {
  return std::visit(
      [](const auto& held) -> std::string {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::string>) {
          return held;
        } else if constexpr (std::is_same_v<Held, bool>) {
          return held ? "true" : "false";
        } else {
          return numberText(held);
        }
      },
      value);
}

/// A number or bool as a double; only for values that are not strings.
double numberOf(const LogArgument::Value& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return static_cast<double>(*number);
  }
  if (const auto* number = std::get_if<std::uint64_t>(&value)) {
    return static_cast<double>(*number);
  }
  if (const auto* truth = std::get_if<bool>(&value)) {
    return *truth ? 1.0 : 0.0;
  }
  return std::get<double>(value);
}

std::string render(const LogArgument::Value& value, const Placeholder& placeholder) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    return *text;
  }
  if (placeholder.asBool) {
    return numberOf(value) != 0.0 ? "true" : "false";
  }
  if (placeholder.conversion == 'f') {
    return fixedText(numberOf(value), placeholder.precision.value_or(6));
  }
  const bool integer =
      placeholder.conversion == 'd' || placeholder.conversion == 'i' || placeholder.conversion == 'u';
  if (integer && std::holds_alternative<bool>(value)) {
    // A bool passed to %d prints as the int it promotes to.
    return std::get<bool>(value) ? "1" : "0";
  }
  return naturalText(value);
}

struct Rendered {
  std::string message;
  std::string redactedMessage;
};

Rendered renderMessage(std::string_view format, std::span<const LogArgument> arguments) {
  Rendered rendered;
  std::size_t nextArgument = 0;
  auto appendBoth = [&rendered](std::string_view text) {
    rendered.message += text;
    rendered.redactedMessage += text;
  };
  while (!format.empty()) {
    const auto percent = format.find('%');
    appendBoth(format.substr(0, percent));
    if (percent == std::string_view::npos) {
      break;
    }
    format.remove_prefix(percent);
    if (format.size() >= 2 && format[1] == '%') {
      appendBoth("%");
      format.remove_prefix(2);
      continue;
    }
    const auto [length, placeholder] = parsePlaceholder(format);
    if (!placeholder) {
      appendBoth(format.substr(0, length));
    } else if (nextArgument >= arguments.size()) {
      appendBoth("<missing>");
    } else {
      const std::string text = render(arguments[nextArgument++].value(), *placeholder);
      rendered.message += text;
      rendered.redactedMessage += placeholder->isPrivate() ? "<private>" : text;
    }
    format.remove_prefix(length);
  }
  for (; nextArgument < arguments.size(); ++nextArgument) {
    const auto& value = arguments[nextArgument].value();
    const std::string text = naturalText(value);
    rendered.message += " <extra: " + text + ">";
    // Without a placeholder there is no privacy annotation: strings stay private, as %s would.
    rendered.redactedMessage +=
        " <extra: " + (std::holds_alternative<std::string>(value) ? "<private>" : text) + ">";
  }
  return rendered;
}

} // namespace

Logger::Logger(std::string subsystem, std::string category)
    : subsystem_(std::move(subsystem)), category_(std::move(category)) {}

void Logger::log(LogLevel level, std::string_view format, std::span<const LogArgument> arguments) const {
  std::shared_ptr<LogSink> sink;
  {
    auto& slot = sinkSlot();
    std::lock_guard lock(slot.mutex);
    sink = slot.sink;
  }
  if (!sink) {
    return;
  }
  Rendered rendered = renderMessage(format, arguments);
  sink->write(LogRecord{subsystem_, category_, level, std::string(format), std::move(rendered.message),
                        std::move(rendered.redactedMessage), SystemClock().now()});
}

std::shared_ptr<LogSink> Logger::setSink(std::shared_ptr<LogSink> sink) {
  auto& slot = sinkSlot();
  std::lock_guard lock(slot.mutex);
  return std::exchange(slot.sink, std::move(sink));
}

} // namespace vantrel
