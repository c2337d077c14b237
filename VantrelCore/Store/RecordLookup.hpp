#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Model/GapRecord.hpp"
#include "VantrelCore/Store/CloudKitCache.hpp"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// Finds the record people mean by what they type: its record name, its title (any case), or the start of
/// its title when no other title starts the same way. Every answer is a record name; a text that names
/// nothing, or several records equally well, throws LookupError listing the candidates.
class RecordLookup {
public:
  /// A record as people pick it: what they see of it, and what it is called.
  struct Candidate {
    std::string recordName;
    std::string title;
  };

  explicit RecordLookup(const CloudKitCache& cache) : cache_(cache) {}

  std::string area(std::string_view text) const;
  std::string project(std::string_view text) const;
  /// A project or an area: a task's home.
  std::string home(std::string_view text) const;
  /// A header of a project or of an area.
  std::string header(std::string_view text) const;
  std::string task(std::string_view text) const;
  std::string inboxItem(std::string_view text) const;
  /// A gap of `day`: by record name, by time ("9:00" is "09:00") or by label.
  const GapRecord& gap(std::string_view text, const CalendarDate& day) const;
  /// A gap by record name, on any day.
  const GapRecord* gapNamed(std::string_view recordName) const;

  /// The projects and headers an area lists, and the tasks and headers a project lists.
  std::vector<Candidate> areaItems(const std::string& area) const;
  std::vector<Candidate> projectItems(const std::string& project) const;

  /// The one candidate `text` picks; `kind` names the candidates in messages ("project").
  static std::string pick(std::string_view kind, std::span<const Candidate> candidates,
                          std::string_view text);

private:
  const CloudKitCache& cache_;
};

} // namespace vantrel
