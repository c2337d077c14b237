#include "VantrelCore/Store/SharedRecordStore.hpp"

#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Platform/HexText.hpp"

#include <algorithm>
#include <tuple>

namespace vantrel {

std::vector<ProjectRecord> SharedRecordStore::projectList() const {
  std::vector<ProjectRecord> list;
  for (const auto& [name, project] : projects) {
    list.push_back(project);
  }
  std::ranges::sort(list, {},
                    [](const ProjectRecord& project) { return std::tie(project.name, project.recordName); });
  return list;
}

std::vector<TaskRecord> SharedRecordStore::tasksInProject(std::string_view projectRecordName) const {
  std::vector<TaskRecord> list;
  for (const auto& [name, task] : tasks) {
    if (task.homeRef == projectRecordName) {
      list.push_back(task);
    }
  }
  std::ranges::sort(list, {},
                    [](const TaskRecord& task) { return std::tie(task.sortIndex, task.recordName); });
  return list;
}

std::size_t SharedRecordStore::taskCount(std::string_view projectRecordName) const {
  return std::size_t(
      std::ranges::count(tasks, projectRecordName,
                         [](const auto& entry) -> const std::string& { return entry.second.homeRef; }));
}

void SharedRecordStore::removeAll() {
  *this = SharedRecordStore{};
}

std::string SharedRecordStore::encodeJSON() const {
  JSONWriter writer;
  writer.startObject();
  encodeRecordMap(writer, "projects", projects);
  encodeRecordMap(writer, "tasks", tasks);
  encodeRecordMap(writer, "sections", sections);
  writer.key("systemFields");
  writer.startObject();
  for (const auto& [name, bytes] : systemFields) {
    writer.key(name);
    writer.string(hexText(bytes));
  }
  writer.endObject();
  writer.endObject();
  return writer.takeText();
}

SharedRecordStore SharedRecordStore::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  readJSONObject(document);
  SharedRecordStore store;
  for (const auto& member : document.GetObject()) {
    const std::string key(member.name.GetString(), member.name.GetStringLength());
    if (key == "projects") {
      decodeRecordMap(member.value, key, store.projects);
    } else if (key == "tasks") {
      decodeRecordMap(member.value, key, store.tasks);
    } else if (key == "sections") {
      decodeRecordMap(member.value, key, store.sections);
    } else if (key == "systemFields") {
      for (const auto& entry : readJSONObject(member.value).GetObject()) {
        const std::string name(entry.name.GetString(), entry.name.GetStringLength());
        auto bytes = entry.value.IsString() ? bytesOfHexText(readJSONString(entry.value)) : std::nullopt;
        if (!bytes) {
          throw DecodingError(DecodingError::Kind::dataCorrupted, "systemFields/" + name,
                              "expected hex digits");
        }
        store.systemFields.insert_or_assign(name, std::move(*bytes));
      }
    }
  }
  return store;
}

} // namespace vantrel
