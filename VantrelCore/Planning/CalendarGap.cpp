#include "VantrelCore/Planning/CalendarGap.hpp"

#include "VantrelCore/Model/TimeFormat.hpp"

#include <charconv>

namespace vantrel {
namespace {

/// The shortest decimal that reads back as `seconds`, with a point and a digit after it when it has none.
std::string shortestDecimal(double seconds) {
  char digits[64];
  const auto end = std::to_chars(digits, digits + sizeof digits, seconds, std::chars_format::fixed).ptr;
  std::string text(digits, end);
  if (text.find('.') == std::string::npos) {
    text += ".0";
  }
  return text;
}

} // namespace

CalendarGap CalendarGap::between(Date start, Date end) {
  return CalendarGap{.id = shortestDecimal(start.secondsSinceReferenceDate) + "-" +
                           shortestDecimal(end.secondsSinceReferenceDate),
                     .start = start,
                     .end = end};
}

std::string CalendarGap::durationLabel() const {
  return TimeFormat::duration(duration());
}

std::pair<std::string, std::string> CalendarGap::timeLabels() const {
  return {TimeFormat::clock(start), TimeFormat::clock(end)};
}

} // namespace vantrel
