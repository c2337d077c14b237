#include "VantrelCore/Bridge/BridgeAtomicWriter.hpp"

#include "VantrelCore/Bridge/AreaTasksFile.hpp"
#include "VantrelCore/Bridge/BridgeApplyError.hpp"
#include "VantrelCore/Bridge/BridgeAreaFolders.hpp"
#include "VantrelCore/Bridge/BridgeRenderer.hpp"
#include "VantrelCore/Bridge/DayFile.hpp"
#include "VantrelCore/Bridge/InboxFile.hpp"
#include "VantrelCore/Bridge/ProjectFile.hpp"
#include "VantrelCore/Bridge/YAMLBridgeSerializer.hpp"
#include "VantrelCore/Planning/GapScheduling.hpp"
#include "VantrelCore/Store/ListOrder.hpp"

#include <algorithm>
#include <tuple>
#include <unordered_map>

namespace vantrel {
namespace {

/// For each wanted title, the index of the existing one it continues: equal titles first, in order, then
/// the rest by place, so that a renamed item keeps its identity and a reordered one is not re-created.
std::vector<std::optional<std::size_t>> matchByTitle(const std::vector<std::string>& wanted,
                                                     const std::vector<std::string>& existing) {
  std::vector<std::optional<std::size_t>> match(wanted.size());
  std::vector<bool> taken(existing.size(), false);
  for (std::size_t index = 0; index < wanted.size(); ++index) {
    for (std::size_t candidate = 0; candidate < existing.size(); ++candidate) {
      if (!taken[candidate] && existing[candidate] == wanted[index]) {
        match[index] = candidate;
        taken[candidate] = true;
        break;
      }
    }
  }
  std::size_t next = 0;
  for (auto& found : match) {
    while (!found && next < existing.size() && taken[next]) {
      ++next;
    }
    if (!found && next < existing.size()) {
      found = next;
      taken[next] = true;
    }
  }
  return match;
}

bool inTaskOrder(const TaskRecord& left, const TaskRecord& right) {
  return std::tie(left.sortIndex, left.recordName) < std::tie(right.sortIndex, right.recordName);
}

std::vector<TaskRecord> subtasksOf(const CloudKitCache& cache, const std::string& parent) {
  std::vector<TaskRecord> subtasks;
  for (const auto& name : CloudKitCache::namesIn(cache.tasksByParent(), parent)) {
    subtasks.push_back(cache.tasks().at(name));
  }
  std::ranges::sort(subtasks, inTaskOrder);
  return subtasks;
}

std::vector<TaskRecord> topLevelTasksOf(const CloudKitCache& cache, const std::string& home) {
  std::vector<TaskRecord> tasks;
  for (const auto& name : CloudKitCache::namesIn(cache.tasksByHome(), home)) {
    if (const auto& task = cache.tasks().at(name); !task.isSubtask()) {
      tasks.push_back(task);
    }
  }
  std::ranges::sort(tasks, inTaskOrder);
  return tasks;
}

/// Gives records fresh ascending sort indexes in the listed order, unless their order already holds.
template <class Record>
void keepOrder(CloudKitStore& store, const std::vector<std::string>& names,
               const RecordMap<Record>& records) {
  const auto ascending =
      std::ranges::adjacent_find(names, [&](const std::string& left, const std::string& right) {
        return records.at(left).sortIndex >= records.at(right).sortIndex;
      }) == names.end();
  if (ascending) {
    return;
  }
  for (std::size_t index = 0; index < names.size(); ++index) {
    auto record = records.at(names[index]);
    record.sortIndex = std::int64_t(index + 1) * 1024;
    store.saveRecord(record);
  }
}

void refuseRepeatedIDs(const std::vector<std::optional<std::string>>& ids, const std::string& fileLabel) {
  std::set<std::string, std::less<>> seen;
  for (const auto& id : ids) {
    if (id && !seen.insert(*id).second) {
      throw BridgeApplyError(fileLabel + ": the id '" + *id + "' is listed twice");
    }
  }
}

std::optional<Date> dueInstant(const std::optional<CalendarDate>& day) {
  return day ? std::optional(day->localNoon()) : std::nullopt;
}

/// The tasks of one home (a project or an area) made to match a file's task items.
class TaskListEdit {
public:
  TaskListEdit(CloudKitStore& store, std::string home, bool homeIsProject,
               const std::vector<BridgeTaskItem>& before)
      : store_(store), home_(std::move(home)), homeIsProject_(homeIsProject) {
    for (const auto& item : before) {
      before_.emplace(*item.id, item);
    }
  }

  /// The task the item stands for, changed where the item differs from what was written; its id.
  std::string apply(const BridgeTaskItem& item) {
    const auto& cache = store_.cache();
    std::string id;
    BridgeTaskItem was;
    if (const auto existing = item.id ? cache.tasks().find(*item.id) : cache.tasks().end();
        existing != cache.tasks().end() && !existing->second.isSubtask()) {
      id = existing->first;
      if (const auto written = before_.find(id); written != before_.end()) {
        was = written->second;
      } else {
        // It stood in another file: compare with what that file showed, then bring it here.
        was = readBack(id);
        store_.moveTask(id, home_);
      }
    } else {
      id = homeIsProject_ ? store_.addTaskToProject(home_, item.title)
                          : store_.addTaskToArea(home_, item.title);
      was = {.id = id, .title = item.title, .done = false};
    }
    if (item.title != was.title) {
      store_.setTaskTitle(id, item.title);
    }
    if (item.done && *item.done != was.done.value_or(false)) {
      store_.setTaskDone(id, *item.done);
    }
    if (item.dueDate != was.dueDate) {
      store_.setTaskDueDate(id, dueInstant(item.dueDate));
    }
    if (item.me != was.me) {
      store_.setTaskSchedule(id, item.me ? item.me->date : std::nullopt,
                             item.me ? item.me->gap : std::nullopt);
    }
    applySubtasks(id, item.subtasks, was.subtasks);
    return id;
  }

private:
  /// The task as a file shows it once read back: what the format carries of it.
  BridgeTaskItem readBack(const std::string& id) const {
    const auto& cache = store_.cache();
    const std::vector<TaskRecord> task{cache.tasks().at(id)};
    const auto text = YAMLBridgeSerializer::renderAreaTasks(
        AreaRecord{}, task, std::nullopt, cache.myTaskSchedules(), {{id, subtasksOf(cache, id)}});
    return AreaTasksFile::parse(text, id).tasks.at(0);
  }

  void applySubtasks(const std::string& parent, const std::vector<BridgeTaskItem::Subtask>& wanted,
                     const std::vector<BridgeTaskItem::Subtask>& written) {
    const auto existing = subtasksOf(store_.cache(), parent);
    std::vector<std::string> wantedTitles;
    std::vector<std::string> writtenTitles;
    for (const auto& subtask : wanted) {
      wantedTitles.push_back(subtask.title);
    }
    for (const auto& subtask : written) {
      writtenTitles.push_back(subtask.title);
    }
    const auto match = matchByTitle(wantedTitles, writtenTitles);
    std::vector<bool> kept(existing.size(), false);
    std::vector<std::string> order;
    for (std::size_t index = 0; index < wanted.size(); ++index) {
      const auto& subtask = wanted[index];
      if (const auto found = match[index]) {
        const auto& id = existing.at(*found).recordName;
        kept[*found] = true;
        if (subtask.title != written[*found].title) {
          store_.setTaskTitle(id, subtask.title);
        }
        if (subtask.done && *subtask.done != written[*found].done.value_or(false)) {
          store_.setTaskDone(id, *subtask.done);
        }
        order.push_back(id);
      } else {
        order.push_back(store_.addSubtask(parent, subtask.title));
        if (subtask.done.value_or(false)) {
          store_.setTaskDone(order.back(), true);
        }
      }
    }
    std::vector<std::string> removed;
    for (std::size_t index = 0; index < existing.size(); ++index) {
      if (!kept[index]) {
        removed.push_back(existing[index].recordName);
      }
    }
    if (!removed.empty()) {
      store_.deleteTasks(removed);
    }
    keepOrder(store_, order, store_.cache().tasks());
  }

  CloudKitStore& store_;
  std::string home_;
  bool homeIsProject_;
  std::unordered_map<std::string, BridgeTaskItem> before_;
};

/// The store's writes are refused while the bridge is open, except the bridge's own.
class ApplyingScope {
public:
  explicit ApplyingScope(CloudKitStore& store) : store_(store), was_(store.bridgeIsApplying()) {
    store_.setBridgeIsApplying(true);
  }
  ~ApplyingScope() { store_.setBridgeIsApplying(was_); }
  ApplyingScope(const ApplyingScope&) = delete;
  ApplyingScope& operator=(const ApplyingScope&) = delete;

private:
  CloudKitStore& store_;
  bool was_;
};

std::string areaOfFolder(const CloudKitCache& cache, std::string_view folder) {
  const auto area = BridgeAreaFolders::areaOfFolder(folder, inListOrder(cache.areas()));
  if (!area) {
    throw BridgeApplyError::noSuchArea(folder);
  }
  return *area;
}

} // namespace

BridgeAtomicWriter::BridgeAtomicWriter(CloudKitStore& store, const Clock& clock,
                                       std::set<std::string, std::less<>> taskIDsOfTheSet)
    : store_(store), clock_(clock), taskIDsOfTheSet_(std::move(taskIDsOfTheSet)) {}

std::set<std::string, std::less<>>
BridgeAtomicWriter::taskIDsIn(std::string_view yaml, const std::string& fileLabel, bool isProjectFile) {
  std::set<std::string, std::less<>> ids;
  if (isProjectFile) {
    for (const auto& item : ProjectFile::parse(yaml, fileLabel).tasks) {
      if (const auto* task = std::get_if<BridgeTaskItem>(&item); task && task->id) {
        ids.insert(*task->id);
      }
    }
  } else {
    for (const auto& task : AreaTasksFile::parse(yaml, fileLabel).tasks) {
      if (task.id) {
        ids.insert(*task.id);
      }
    }
  }
  return ids;
}

void BridgeAtomicWriter::replaceProject(std::string_view projectRef, std::string_view areaFolder,
                                        std::string_view yaml, const std::string& fileLabel) {
  const auto file = ProjectFile::parse(yaml, fileLabel);
  const auto& cache = store_.cache();
  areaOfFolder(cache, areaFolder);
  const std::string project(projectRef);
  if (!cache.projects().contains(project)) {
    throw BridgeApplyError::noSuchProject(project);
  }
  if (file.project.id != project) {
    throw BridgeApplyError::projectIDChanged(fileLabel, project, file.project.id);
  }
  std::vector<std::optional<std::string>> ids;
  std::vector<BridgeTaskItem> beforeTasks;
  std::vector<std::string> beforeHeaders;
  const auto before = ProjectFile::parse(BridgeRenderer::projectFile(cache, project), fileLabel);
  for (const auto& item : before.tasks) {
    if (const auto* task = std::get_if<BridgeTaskItem>(&item)) {
      beforeTasks.push_back(*task);
    } else {
      beforeHeaders.push_back(std::get<ProjectFile::Header>(item).title);
    }
  }
  std::vector<std::string> wantedHeaders;
  for (const auto& item : file.tasks) {
    if (const auto* task = std::get_if<BridgeTaskItem>(&item)) {
      ids.push_back(task->id);
    } else {
      wantedHeaders.push_back(std::get<ProjectFile::Header>(item).title);
    }
  }
  refuseRepeatedIDs(ids, fileLabel);

  const ApplyingScope applying(store_);
  store_.performAtomically([&] {
    const auto& was = before.project;
    const auto& wanted = file.project;
    if (wanted.name != was.name) {
      store_.setProjectName(project, wanted.name);
    }
    if (wanted.status != was.status) {
      store_.setProjectStatus(project, wanted.status);
    }
    if (wanted.purpose != was.purpose) {
      store_.setProjectPurpose(project,
                               wanted.purpose && !wanted.purpose->empty() ? wanted.purpose : std::nullopt);
    }
    if (wanted.dueDate != was.dueDate) {
      store_.setProjectDueDate(project, dueInstant(wanted.dueDate));
    }
    if (wanted.pinned != was.pinned) {
      store_.setProjectPinned(project, wanted.pinned);
    }
    if (wanted.sortIndex && wanted.sortIndex != was.sortIndex) {
      store_.setProjectSortIndex(project, *wanted.sortIndex);
    }

    std::vector<ProjectSectionRecord> headers;
    for (const auto& name : CloudKitCache::namesIn(cache.sectionsByProject(), project)) {
      headers.push_back(cache.projectSections().at(name));
    }
    std::ranges::sort(headers, [](const ProjectSectionRecord& left, const ProjectSectionRecord& right) {
      return std::tie(left.sortIndex, left.recordName) < std::tie(right.sortIndex, right.recordName);
    });
    const auto headerMatch = matchByTitle(wantedHeaders, beforeHeaders);
    std::vector<bool> keptHeaders(headers.size(), false);
    TaskListEdit tasks(store_, project, true, beforeTasks);
    std::vector<ProjectItemKey> order;
    std::set<std::string, std::less<>> listed;
    std::size_t headerIndex = 0;
    for (const auto& item : file.tasks) {
      if (const auto* task = std::get_if<BridgeTaskItem>(&item)) {
        order.push_back(ProjectItemKey::task(tasks.apply(*task)));
        listed.insert(order.back().id);
        continue;
      }
      const auto& title = std::get<ProjectFile::Header>(item).title;
      if (const auto found = headerMatch[headerIndex++]) {
        keptHeaders[*found] = true;
        if (title != beforeHeaders[*found]) {
          store_.setHeaderTitle(headers[*found].recordName, title);
        }
        order.push_back(ProjectItemKey::section(headers[*found].recordName));
      } else {
        order.push_back(ProjectItemKey::section(store_.addHeaderToProject(project, title)));
      }
    }
    for (std::size_t index = 0; index < headers.size(); ++index) {
      if (!keptHeaders[index]) {
        store_.deleteHeader(headers[index].recordName);
      }
    }
    std::vector<std::string> removed;
    for (const auto& task : topLevelTasksOf(cache, project)) {
      if (!listed.contains(task.recordName) && !taskIDsOfTheSet_.contains(task.recordName)) {
        removed.push_back(task.recordName);
      }
    }
    if (!removed.empty()) {
      store_.deleteTasks(removed);
    }
    std::vector<ProjectItem> now;
    for (const auto& task : topLevelTasksOf(cache, project)) {
      now.push_back(ProjectItem::task(task));
    }
    for (const auto& name : CloudKitCache::namesIn(cache.sectionsByProject(), project)) {
      now.push_back(ProjectItem::header(cache.projectSections().at(name)));
    }
    ProjectItem::sort(now);
    std::vector<ProjectItemKey> current;
    for (const auto& item : now) {
      current.push_back(item.isHeader() ? ProjectItemKey::section(item.id) : ProjectItemKey::task(item.id));
    }
    if (current != order) {
      store_.reorderProject(project, order);
    }
  });
}

void BridgeAtomicWriter::replaceAreaTasks(std::string_view areaFolder, std::string_view yaml,
                                          const std::string& fileLabel) {
  const auto file = AreaTasksFile::parse(yaml, fileLabel);
  const auto& cache = store_.cache();
  const auto area = areaOfFolder(cache, areaFolder);
  std::vector<std::optional<std::string>> ids;
  for (const auto& task : file.tasks) {
    ids.push_back(task.id);
  }
  refuseRepeatedIDs(ids, fileLabel);
  const auto before = AreaTasksFile::parse(BridgeRenderer::areaTasksFile(cache, area), fileLabel);

  const ApplyingScope applying(store_);
  store_.performAtomically([&] {
    TaskListEdit tasks(store_, area, false, before.tasks);
    std::vector<std::string> order;
    for (const auto& task : file.tasks) {
      order.push_back(tasks.apply(task));
    }
    const std::set<std::string, std::less<>> listed(order.begin(), order.end());
    std::vector<std::string> removed;
    for (const auto& task : topLevelTasksOf(cache, area)) {
      if (!listed.contains(task.recordName) && !taskIDsOfTheSet_.contains(task.recordName)) {
        removed.push_back(task.recordName);
      }
    }
    if (!removed.empty()) {
      store_.deleteTasks(removed);
    }
    std::vector<std::string> current;
    for (const auto& task : topLevelTasksOf(cache, area)) {
      current.push_back(task.recordName);
    }
    if (current != order) {
      store_.reorderAreaTasks(area, order);
    }
  });
}

void BridgeAtomicWriter::replaceDay(std::string_view dayName, std::string_view yaml,
                                    const std::string& fileLabel) {
  const auto day = CalendarDate::parse(dayName);
  if (!day) {
    throw BridgeApplyError::badDayName(dayName);
  }
  const auto file = DayFile::parse(yaml, fileLabel);
  for (const auto& gap : file.gaps) {
    if (!GapRecord::minutesOfDay(gap.time)) {
      throw BridgeApplyError(fileLabel + ": the gap time '" + gap.time + "' is not a time of day HH:MM");
    }
  }
  const auto& cache = store_.cache();
  const auto before = DayFile::parse(BridgeRenderer::dayFile(cache, *day), fileLabel);
  std::vector<GapRecord> existing;
  for (const auto& name : CloudKitCache::namesIn(cache.gapIDsByDay(), day->description())) {
    existing.push_back(cache.gaps().at(name));
  }
  existing = GapScheduling::ordered(std::move(existing));
  // Gaps are known by their time of day ("9:05" is "09:05"), then by place.
  std::vector<std::string> wantedTimes;
  std::vector<std::string> writtenTimes;
  for (const auto& gap : file.gaps) {
    wantedTimes.push_back(GapRecord::normalizedTime(gap.time));
  }
  for (const auto& gap : before.gaps) {
    writtenTimes.push_back(GapRecord::normalizedTime(gap.time));
  }
  const auto match = matchByTitle(wantedTimes, writtenTimes);

  const ApplyingScope applying(store_);
  store_.performAtomically([&] {
    std::vector<bool> kept(existing.size(), false);
    std::vector<std::string> order;
    for (std::size_t index = 0; index < file.gaps.size(); ++index) {
      const auto& gap = file.gaps[index];
      const auto label = gap.label && !gap.label->empty() ? gap.label : std::nullopt;
      if (const auto found = match[index]) {
        kept[*found] = true;
        const auto& was = before.gaps[*found];
        const auto& name = existing[*found].recordName;
        const auto wasLabel = was.label && !was.label->empty() ? was.label : std::nullopt;
        if (gap.time != was.time || label != wasLabel || gap.reminder != was.reminder) {
          store_.updateGap(name, gap.time != was.time ? std::optional(gap.time) : std::nullopt,
                           label != wasLabel ? std::optional(label) : std::nullopt,
                           gap.reminder != was.reminder ? std::optional(gap.reminder) : std::nullopt);
        }
        order.push_back(name);
      } else {
        order.push_back(store_.addGap(*day, gap.time, label, gap.reminder));
      }
    }
    for (std::size_t index = 0; index < existing.size(); ++index) {
      if (!kept[index]) {
        store_.deleteGap(existing[index].recordName);
      }
    }
    keepOrder(store_, order, cache.gaps());
  });
}

void BridgeAtomicWriter::replaceInbox(std::string_view yaml, const std::string& fileLabel) {
  const auto file = InboxFile::parse(yaml, fileLabel);
  std::vector<std::optional<std::string>> ids;
  for (const auto& item : file.items) {
    ids.push_back(item.id);
  }
  refuseRepeatedIDs(ids, fileLabel);
  const auto& cache = store_.cache();
  const auto before = InboxFile::parse(BridgeRenderer::inboxFile(cache), fileLabel);
  std::unordered_map<std::string, InboxFile::Item> written;
  for (const auto& item : before.items) {
    written.emplace(*item.id, item);
  }

  const ApplyingScope applying(store_);
  store_.performAtomically([&] {
    std::vector<std::string> order;
    for (const auto& item : file.items) {
      const auto notes = item.notes && !item.notes->empty() ? item.notes : std::nullopt;
      const auto existing = item.id ? cache.inbox().find(*item.id) : cache.inbox().end();
      if (existing == cache.inbox().end()) {
        order.push_back(store_.addInboxItem(item.title, notes, item.captured.value_or(clock_.now())));
        continue;
      }
      const auto& was = written.at(existing->first);
      auto record = existing->second;
      if (item.title != was.title) {
        record.title = item.title;
      }
      if (notes != (was.notes && !was.notes->empty() ? was.notes : std::nullopt)) {
        record.notes = notes;
      }
      if (item.captured && item.captured != was.captured) {
        record.capturedAt = *item.captured;
      }
      if (record != existing->second) {
        store_.saveRecord(record);
      }
      order.push_back(record.recordName);
    }
    const std::set<std::string, std::less<>> listed(order.begin(), order.end());
    std::vector<std::string> removed;
    for (const auto& [name, item] : cache.inbox()) {
      if (!listed.contains(name)) {
        removed.push_back(name);
      }
    }
    for (const auto& name : removed) {
      store_.deleteInboxItem(name);
    }
    keepOrder(store_, order, cache.inbox());
  });
}

} // namespace vantrel
