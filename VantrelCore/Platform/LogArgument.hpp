#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace vantrel {

/// One argument of a log message, keeping the kind of value it was written with so that placeholders
/// can render it faithfully. Other types do not convert, so a wrong argument fails to compile.
class LogArgument {
public:
  using Value = std::variant<std::int64_t, std::uint64_t, double, bool, std::string>;

  template <std::signed_integral T> LogArgument(T value) : value_(static_cast<std::int64_t>(value)) {}
  template <std::unsigned_integral T>
  requires(!std::same_as<T, bool>) LogArgument(T value) : value_(static_cast<std::uint64_t>(value)) {}
  template <std::floating_point T> LogArgument(T value) : value_(static_cast<double>(value)) {}
  // A template so that pointers, which convert to bool implicitly, do not land here.
  template <std::same_as<bool> T> LogArgument(T value) : value_(value) {}
  LogArgument(const std::string& value) : value_(value) {}
  LogArgument(std::string_view value) : value_(std::string(value)) {}
  /// A null pointer reads "(null)", as printf and os_log show it.
  LogArgument(const char* value) : value_(std::string(value != nullptr ? value : "(null)")) {}

  const Value& value() const { return value_; }

private:
  Value value_;
};

} // namespace vantrel
