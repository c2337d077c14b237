#include "VantrelCore/Platform/TimeZoneError.hpp"

namespace vantrel {

TimeZoneError::TimeZoneError(Kind kind, std::string identifier, const std::string& message)
    : std::runtime_error(message), kind_(kind), identifier_(std::move(identifier)) {}

TimeZoneError TimeZoneError::unknown(const std::string& identifier, const std::string& detail) {
  return TimeZoneError(Kind::unknown, identifier,
                       "unknown time zone '" + identifier + "'" + (detail.empty() ? "" : ": " + detail));
}

TimeZoneError TimeZoneError::unreadable(const std::string& identifier, const std::string& reason) {
  return TimeZoneError(Kind::unreadable, identifier,
                       "time zone '" + identifier + "' cannot be read: " + reason);
}

} // namespace vantrel
