#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// A day file as the editor left it: the day's gaps in order. The day itself comes from the file's name.
struct DayFile {
  struct Gap {
    std::string time{};
    std::optional<std::string> label{};
    bool reminder = false;
    friend bool operator==(const Gap&, const Gap&) = default;
  };

  std::optional<CalendarDate> date{};
  std::vector<Gap> gaps{};

  /// Throws YAMLParseError naming the file and the line.
  static DayFile parse(std::string_view text, std::string fileLabel);

  friend bool operator==(const DayFile&, const DayFile&) = default;
};

} // namespace vantrel
