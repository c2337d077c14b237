#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// The contents of one zone file of the tz database (RFC 8536, version 2 or later): the transitions as
/// 64-bit times, the local time types they switch to, and the footer, the POSIX TZ rule for times past
/// the last transition.
struct TZifFile {
  /// A file that does not follow the format; the text says how ("truncated", "not a TZif file").
  class FormatError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
  };

  struct LocalTimeType {
    /// Seconds east of UTC.
    std::int32_t offset{};
    bool isDaylight{};
    std::string abbreviation;
  };

  struct Transition {
    /// Unix seconds.
    std::int64_t time{};
    std::uint8_t type{};
  };

  int version{};
  std::vector<Transition> transitions;
  std::vector<LocalTimeType> types;
  /// Empty when the file has no rule for later times: the last type then holds for ever.
  std::string footer;
  /// Leap-second records ("right/" zones) make the times TAI-based rather than Unix seconds.
  bool countsLeapSeconds{};

  /// Reads a whole file. Throws FormatError.
  static TZifFile parse(std::string_view bytes);
};

} // namespace vantrel
