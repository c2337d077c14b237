#include "VantrelCore/Widget/TaskEntityQuery.hpp"

#include "VantrelCore/JSON/JSONScanner.hpp"
#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Model/TaskRecord.hpp"
#include "VantrelCore/Widget/GapWidgetModel.hpp"

#include <unordered_map>
#include <unordered_set>

namespace vantrel {

std::vector<TaskEntity> TaskEntityQuery::entities(std::span<const std::string> ids) const {
  const auto file = environment_.cacheSnapshotURL();
  if (!file || ids.empty()) {
    return {};
  }
  std::unordered_map<std::string, std::string> titles;
  try {
    const auto snapshot = environment_.fileSystem.mapFile(*file);
    if (!snapshot || snapshot->bytes().empty()) {
      return {};
    }
    const std::unordered_set<std::string> wanted(ids.begin(), ids.end());
    JSONScanner scanner(snapshot->bytes());
    scanner.enterObject();
    std::string_view key;
    while (scanner.nextMember(key)) {
      if (key != "tasks") {
        scanner.skipBalanced();
        continue;
      }
      scanner.enterObject();
      std::string_view name;
      while (scanner.nextMember(name)) {
        const auto record = scanner.skipBalanced();
        if (const auto unescaped = JSONScanner::unescaped(name); wanted.contains(unescaped)) {
          titles[unescaped] = decodeRecord<TaskRecord>(parseJSON(record)).title;
        }
      }
    }
    scanner.finish();
  } catch (const std::exception&) {
    return {};
  }
  std::vector<TaskEntity> entities;
  for (const auto& id : ids) {
    if (const auto title = titles.find(id); title != titles.end()) {
      entities.push_back({id, title->second});
    }
  }
  return entities;
}

std::vector<TaskEntity> TaskEntityQuery::suggestedEntities() const {
  std::vector<TaskEntity> suggested;
  std::unordered_set<std::string> seen;
  // The timeline shows every gap still to come today in turn, so its models hold what is left to do.
  for (const auto& model : GapWidgetModel::timeline(clock_.now(), environment_)) {
    for (const auto& task : model.tasks) {
      if (!task.done && !task.isSubtask && task.canToggle && seen.insert(task.id).second) {
        suggested.push_back({task.id, task.title});
      }
    }
  }
  return suggested;
}

} // namespace vantrel
