#include "VantrelCore/Planning/TaskGapEndSource.hpp"

#include <array>
#include <utility>

namespace vantrel {
namespace {

constexpr std::array<std::pair<TaskGapEndSource, std::string_view>, 5> texts{{
    {TaskGapEndSource::containingEvent, "containingEvent"},
    {TaskGapEndSource::beforeDayStart, "beforeDayStart"},
    {TaskGapEndSource::afterDayEnd, "afterDayEnd"},
    {TaskGapEndSource::nextBoundary, "nextBoundary"},
    {TaskGapEndSource::openEnded, "openEnded"},
}};

} // namespace

std::string_view taskGapEndSourceText(TaskGapEndSource source) {
  for (const auto& [value, text] : texts) {
    if (value == source) {
      return text;
    }
  }
  return "openEnded";
}

std::optional<TaskGapEndSource> taskGapEndSource(std::string_view text) {
  for (const auto& [value, known] : texts) {
    if (known == text) {
      return value;
    }
  }
  return std::nullopt;
}

} // namespace vantrel
