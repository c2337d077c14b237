#include "VantrelCore/Store/UndoableAction.hpp"

#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {

std::string UndoableAction::menuTitle() const {
  if (const auto* deleted = std::get_if<DeleteTasks>(&action)) {
    const auto count = deleted->snapshots.size();
    return count == 1 ? "Undo Delete Task" : "Undo Delete of " + std::to_string(count) + " Tasks";
  }
  const auto count = std::get<Schedule>(action).moves.size();
  return count == 1 ? "Undo Move" : "Undo Move of " + std::to_string(count) + " Tasks";
}

namespace {

template <class Writer, class Value>
void optionalMember(Writer& json, const char* key, const std::optional<Value>& value) {
  if (value) {
    json.key(key);
    writeJSONValue(json, *value);
  }
}

void writeSchedule(JSONWriter& json, const std::optional<UserTaskScheduleRecord>& schedule) {
  if (schedule) {
    json.key("mySchedule");
    encodeRecord(json, *schedule);
  }
}

std::optional<UserTaskScheduleRecord> readSchedule(const rapidjson::Value& object) {
  const auto found = object.FindMember("mySchedule");
  if (found == object.MemberEnd()) {
    return std::nullopt;
  }
  return decodeRecord<UserTaskScheduleRecord>(found->value);
}

const rapidjson::Value& member(const rapidjson::Value& object, const char* key) {
  const auto found = readJSONObject(object).FindMember(key);
  if (found == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, key, "is missing required key");
  }
  return found->value;
}

const rapidjson::Value& array(const rapidjson::Value& value, const char* key) {
  if (!value.IsArray()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, key,
                        "expected array, got " + std::string(jsonKindName(value)));
  }
  return value;
}

template <class T> std::optional<T> optionalValue(const rapidjson::Value& object, const char* key) {
  std::optional<T> value;
  if (const auto found = object.FindMember(key); found != object.MemberEnd()) {
    readJSONValue(found->value, value);
  }
  return value;
}

} // namespace

std::string UndoableAction::encodeJSON() const {
  JSONWriter json;
  json.startObject();
  json.key("kind");
  if (const auto* deleted = std::get_if<DeleteTasks>(&action)) {
    json.string("deleteTasks");
    json.key("snapshots");
    json.startArray();
    for (const auto& snapshot : deleted->snapshots) {
      json.startObject();
      json.key("task");
      encodeRecord(json, snapshot.task);
      writeSchedule(json, snapshot.mySchedule);
      json.key("subtasks");
      json.startArray();
      for (const auto& subtask : snapshot.subtasks) {
        json.startObject();
        json.key("record");
        encodeRecord(json, subtask.record);
        writeSchedule(json, subtask.mySchedule);
        json.endObject();
      }
      json.endArray();
      json.key("deletedAt");
      json.date(snapshot.deletedAt);
      json.endObject();
    }
    json.endArray();
  } else {
    json.string("schedule");
    json.key("moves");
    json.startArray();
    for (const auto& move : std::get<Schedule>(action).moves) {
      json.startObject();
      json.key("taskID");
      json.string(move.taskID);
      optionalMember(json, "fromDate", move.fromDate);
      optionalMember(json, "fromGapTime", move.fromGapTime);
      optionalMember(json, "toDate", move.toDate);
      optionalMember(json, "toGapTime", move.toGapTime);
      json.endObject();
    }
    json.endArray();
  }
  json.endObject();
  return json.takeText();
}

UndoableAction UndoableAction::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  const std::string kind(readJSONString(member(document, "kind")));
  if (kind == "deleteTasks") {
    DeleteTasks deleted;
    for (const auto& entry : array(member(document, "snapshots"), "snapshots").GetArray()) {
      DeletedTaskSnapshot snapshot{.task = decodeRecord<TaskRecord>(member(entry, "task")),
                                   .mySchedule = readSchedule(entry),
                                   .deletedAt = Date{readJSONNumber(member(entry, "deletedAt"))}};
      for (const auto& subtask : array(member(entry, "subtasks"), "subtasks").GetArray()) {
        snapshot.subtasks.push_back(
            {decodeRecord<TaskRecord>(member(subtask, "record")), readSchedule(subtask)});
      }
      deleted.snapshots.push_back(std::move(snapshot));
    }
    return UndoableAction{std::move(deleted)};
  }
  if (kind == "schedule") {
    Schedule schedule;
    for (const auto& entry : array(member(document, "moves"), "moves").GetArray()) {
      schedule.moves.push_back(ScheduleMove{.taskID = std::string(readJSONString(member(entry, "taskID"))),
                                            .fromDate = optionalValue<Date>(entry, "fromDate"),
                                            .fromGapTime = optionalValue<std::string>(entry, "fromGapTime"),
                                            .toDate = optionalValue<Date>(entry, "toDate"),
                                            .toGapTime = optionalValue<std::string>(entry, "toGapTime")});
    }
    return UndoableAction{std::move(schedule)};
  }
  throw DecodingError(DecodingError::Kind::dataCorrupted, "kind", "unknown undoable action '" + kind + "'");
}

} // namespace vantrel
