#pragma once

#include <stdexcept>
#include <string>

namespace vantrel {

/// A zone the planner cannot use; the message names it:
/// "unknown time zone 'Mars/Olympus_Mons'",
/// "time zone 'Europe/Berlin' cannot be read: /usr/share/zoneinfo/Europe/Berlin is damaged (truncated)".
class TimeZoneError : public std::runtime_error {
public:
  enum class Kind {
    /// No zone of that name (or no database at all).
    unknown,
    /// The zone's file exists but cannot be read or does not follow the format.
    unreadable,
  };

  TimeZoneError(Kind kind, std::string identifier, const std::string& message);

  /// "unknown time zone 'X'", with `detail` after a colon when given.
  static TimeZoneError unknown(const std::string& identifier, const std::string& detail = {});
  /// "time zone 'X' cannot be read: REASON".
  static TimeZoneError unreadable(const std::string& identifier, const std::string& reason);

  Kind kind() const noexcept { return kind_; }
  const std::string& identifier() const noexcept { return identifier_; }

private:
  Kind kind_;
  std::string identifier_;
};

} // namespace vantrel
