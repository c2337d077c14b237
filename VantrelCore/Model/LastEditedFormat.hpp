#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// The last-edited stamp written into records and files: "2026-03-07T10:05:09Z", UTC, whole seconds.
///
/// One process-wide formatter, made on first use; safe to call from any thread.
class LastEditedFormat {
public:
  LastEditedFormat() = delete;

  /// The instant to the second, the fraction dropped.
  static std::string string(Date instant);
  /// The instant of a stamp; nothing unless the whole text is a stamp ending in 'Z'.
  static std::optional<Date> date(std::string_view text);
};

} // namespace vantrel
