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
  if (const auto found = object.FindMember("recentConflicts"); found != object.MemberEnd()) {
    if (!found->value.IsArray()) {
      throw DecodingError(DecodingError::Kind::typeMismatch, "recentConflicts",
                          "recentConflicts: expected array, got " + std::string(jsonKindName(found->value)));
    }
    for (const auto& conflict : found->value.GetArray()) {
      status.recentConflicts.push_back(decodeRecord<SyncConflict>(conflict));
    }
  }
  return status;
}

} // namespace vantrel
