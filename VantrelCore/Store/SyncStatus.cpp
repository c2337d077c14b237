#include "VantrelCore/Store/SyncStatus.hpp"

#include "VantrelCore/JSON/RecordJSON.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {
namespace {

template <class Record>
void recordMember(JSONWriter& json, const char* key, const std::optional<Record>& record) {
  if (record) {
    json.key(key);
    encodeRecord(json, *record);
  }
}

template <class Record>
std::optional<Record> readRecordMember(const rapidjson::Value& object, const char* key) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd() || found->value.IsNull()) {
    return std::nullopt;
  }
  return decodeRecord<Record>(found->value);
}

/// An optional array of records; absent reads as empty.
template <class List> void readArrayMember(const rapidjson::Value& object, const char* key, List& target) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) {
    return;
  }
  if (!found->value.IsArray()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, key,
                        std::string(key) + ": expected array, got " +
                            std::string(jsonKindName(found->value)));
  }
  for (const auto& element : found->value.GetArray()) {
    target.push_back(decodeRecord<typename List::value_type>(element));
  }
}

} // namespace

std::string SyncStatus::encodeJSON() const {
  JSONWriter json;
  json.startObject();
  recordMember(json, "lastFetch", lastFetch);
  json.key("consecutiveFetchFailures");
  writeJSONValue(json, consecutiveFetchFailures);
  if (pendingSince) {
    json.key("pendingSince");
    writeJSONValue(json, *pendingSince);
  }
  json.key("recentConflicts");
  json.startArray();
  for (const auto& conflict : recentConflicts) {
    encodeRecord(json, conflict);
  }
  json.endArray();
  recordMember(json, "lastUIError", lastUIError);
  json.key("recordFailures");
  json.startArray();
  for (const auto& failure : recordFailures) {
    encodeRecord(json, failure);
  }
  json.endArray();
  json.endObject();
  return std::string(json.text());
}

SyncStatus SyncStatus::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  const auto& object = readJSONObject(document);
  SyncStatus status{.lastFetch = readRecordMember<WriteOutcome>(object, "lastFetch"),
                    .lastUIError = readRecordMember<UIError>(object, "lastUIError")};
  if (const auto found = object.FindMember("consecutiveFetchFailures"); found != object.MemberEnd()) {
    status.consecutiveFetchFailures = readJSONInt64(found->value);
  }
  if (const auto found = object.FindMember("pendingSince"); found != object.MemberEnd()) {
    readJSONValue(found->value, status.pendingSince);
  }
  readArrayMember(object, "recentConflicts", status.recentConflicts);
  readArrayMember(object, "recordFailures", status.recordFailures);
  return status;
}

} // namespace vantrel
