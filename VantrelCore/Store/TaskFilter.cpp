#include "VantrelCore/Store/TaskFilter.hpp"

#include <unicode/unistr.h>

namespace vantrel {

std::string foldedCase(std::string_view text) {
  auto unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
  unicode.foldCase();
  std::string utf8;
  unicode.toUTF8String(utf8);
  return utf8;
}

bool containsFolded(std::string_view text, std::string_view words) {
  return foldedCase(text).find(foldedCase(words)) != std::string::npos;
}

bool TaskFilter::matches(const TaskRecord& task, const CloudKitCache& cache) const {
  if (done && task.done != *done) {
    return false;
  }
  if (project && task.homeRef != *project) {
    return false;
  }
  if (area) {
    const auto found = cache.taskAreaRef().find(task.recordName);
    if (found == cache.taskAreaRef().end() || found->second != *area) {
      return false;
    }
  }
  if (day || anyday) {
    const auto schedule = cache.myTaskSchedules().find(task.recordName);
    const bool planned = schedule != cache.myTaskSchedules().end() && schedule->second.date;
    if (anyday && planned) {
      return false;
    }
    if (day && (!planned || CalendarDate::localDayOf(*schedule->second.date) != *day)) {
      return false;
    }
  }
  if (dueBefore && (!task.dueDate || !(*task.dueDate < *dueBefore))) {
    return false;
  }
  return !text || containsFolded(task.title, *text);
}

} // namespace vantrel
