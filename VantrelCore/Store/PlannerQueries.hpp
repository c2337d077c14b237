#pragma once

#include "VantrelCore/Planning/DayRecords.hpp"
#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <string>
#include <vector>

namespace vantrel {

/// What the planner answers from its cache: the records of a day's plan, what is due, and where words
/// occur.
class PlannerQueries {
public:
  /// A task not done, or a project not archived, with a deadline.
  struct Deadline {
    std::string recordName;
    std::string title;
    bool isProject = false;
    Date due{};
  };
  /// Something whose title or text holds the words.
  struct Match {
    enum class Kind { area, project, task, inboxItem };
    Kind kind = Kind::task;
    std::string recordName;
    std::string title;
    /// "title", "notes" or "purpose": where the words were found.
    std::string field;
  };

  /// The records DayPlan::of() makes the day's plan of.
  static DayRecords dayRecords(const CloudKitCache& cache, const CalendarDate& day);
  /// The deadlines before `until` (overdue ones included), soonest first.
  static std::vector<Deadline> deadlinesBefore(const CloudKitCache& cache, Date until);
  /// Areas, projects (name and purpose), tasks and inbox items (title and notes) holding `words` in any
  /// case, in that order, each by title.
  static std::vector<Match> search(const CloudKitCache& cache, std::string_view words);
};

} // namespace vantrel
