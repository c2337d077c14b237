#include "VantrelCore/Store/RecordLookup.hpp"

#include "VantrelCore/Store/LookupError.hpp"
#include "VantrelCore/Store/TaskFilter.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {
namespace {

constexpr std::size_t candidatesShown = 8;

[[noreturn]] void ambiguous(std::string_view kind, std::string_view text,
                            const std::vector<const RecordLookup::Candidate*>& matches) {
  std::string message = "'" + std::string(text) + "' could be " + std::to_string(matches.size()) + " " +
                        std::string(kind) + "s:";
  for (std::size_t index = 0; index < matches.size() && index < candidatesShown; ++index) {
    message += (index == 0 ? " " : ", ") + matches[index]->title + " (" + matches[index]->recordName + ")";
  }
  if (matches.size() > candidatesShown) {
    message += ", ...";
  }
  throw LookupError(message + "; type more of the title, or the name in brackets");
}

template <class Record, class Title>
std::vector<RecordLookup::Candidate> candidatesOf(const RecordMap<Record>& records, Title title) {
  std::vector<RecordLookup::Candidate> candidates;
  candidates.reserve(records.size());
  for (const auto& [name, record] : records) {
    candidates.push_back({name, title(record)});
  }
  return candidates;
}

} // namespace

std::string RecordLookup::pick(std::string_view kind, std::span<const Candidate> candidates,
                               std::string_view text) {
  for (const auto& candidate : candidates) {
    if (candidate.recordName == text) {
      return candidate.recordName;
    }
  }
  const auto wanted = foldedCase(text);
  std::vector<const Candidate*> exact;
  std::vector<const Candidate*> starting;
  if (!wanted.empty()) {
    for (const auto& candidate : candidates) {
      const auto title = foldedCase(candidate.title);
      if (title == wanted) {
        exact.push_back(&candidate);
      } else if (title.starts_with(wanted)) {
        starting.push_back(&candidate);
      }
    }
  }
  auto& matches = exact.empty() ? starting : exact;
  std::ranges::sort(matches, [](const Candidate* left, const Candidate* right) {
    return std::tie(left->title, left->recordName) < std::tie(right->title, right->recordName);
  });
  if (matches.size() == 1) {
    return matches.front()->recordName;
  }
  if (matches.empty()) {
    throw LookupError("no " + std::string(kind) + " '" + std::string(text) + "'");
  }
  ambiguous(kind, text, matches);
}

std::string RecordLookup::area(std::string_view text) const {
  return pick("area", candidatesOf(cache_.areas(), [](const AreaRecord& area) { return area.name; }), text);
}

std::string RecordLookup::project(std::string_view text) const {
  return pick("project",
              candidatesOf(cache_.projects(), [](const ProjectRecord& project) { return project.name; }),
              text);
}

std::string RecordLookup::home(std::string_view text) const {
  auto candidates =
      candidatesOf(cache_.projects(), [](const ProjectRecord& project) { return project.name; });
  const auto areas = candidatesOf(cache_.areas(), [](const AreaRecord& area) { return area.name; });
  candidates.insert(candidates.end(), areas.begin(), areas.end());
  return pick("project or area", candidates, text);
}

std::string RecordLookup::header(std::string_view text) const {
  auto candidates =
      candidatesOf(cache_.projectSections(), [](const ProjectSectionRecord& header) { return header.title; });
  for (const auto& [name, header] : cache_.areaSections()) {
    if (header.userRef == cache_.currentUserRef()) {
      candidates.push_back({name, header.title});
    }
  }
  return pick("header", candidates, text);
}

std::string RecordLookup::task(std::string_view text) const {
  return pick("task", candidatesOf(cache_.tasks(), [](const TaskRecord& task) { return task.title; }), text);
}

std::string RecordLookup::inboxItem(std::string_view text) const {
  return pick("inbox item",
              candidatesOf(cache_.inbox(), [](const InboxItemRecord& item) { return item.title; }), text);
}

const GapRecord* RecordLookup::gapNamed(std::string_view recordName) const {
  const auto found = cache_.gaps().find(std::string(recordName));
  return found == cache_.gaps().end() ? nullptr : &found->second;
}

const GapRecord& RecordLookup::gap(std::string_view text, const CalendarDate& day) const {
  if (const auto* named = gapNamed(text)) {
    if (named->dayRef != day.description()) {
      throw LookupError("gap " + std::string(text) + " is on " + named->dayRef + ", not on " +
                        day.description());
    }
    return *named;
  }
  std::vector<Candidate> labelled;
  for (const auto& name : CloudKitCache::namesIn(cache_.gapIDsByDay(), day.description())) {
    const auto& gap = cache_.gaps().at(name);
    if (GapRecord::sameTime(gap.time, text)) {
      return gap;
    }
    if (gap.label) {
      labelled.push_back({name, *gap.label});
    }
  }
  try {
    return cache_.gaps().at(pick("gap", labelled, text));
  } catch (const LookupError&) {
    if (labelled.empty() || text.find(':') != std::string_view::npos) {
      throw LookupError("no gap '" + std::string(text) + "' on " + day.description());
    }
    throw;
  }
}

std::vector<RecordLookup::Candidate> RecordLookup::areaItems(const std::string& area) const {
  std::vector<Candidate> items;
  for (const auto& project : CloudKitCache::namesIn(cache_.projectsInArea(), area)) {
    items.push_back({project, cache_.projects().at(project).name});
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.areaSectionsByArea(), area)) {
    const auto& record = cache_.areaSections().at(header);
    if (record.userRef == cache_.currentUserRef()) {
      items.push_back({header, record.title});
    }
  }
  return items;
}

std::vector<RecordLookup::Candidate> RecordLookup::projectItems(const std::string& project) const {
  std::vector<Candidate> items;
  for (const auto& task : CloudKitCache::namesIn(cache_.tasksByHome(), project)) {
    items.push_back({task, cache_.tasks().at(task).title});
  }
  for (const auto& header : CloudKitCache::namesIn(cache_.sectionsByProject(), project)) {
    items.push_back({header, cache_.projectSections().at(header).title});
  }
  return items;
}

} // namespace vantrel
