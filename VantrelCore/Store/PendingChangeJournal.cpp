#include "VantrelCore/Store/PendingChangeJournal.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {
namespace {

const rapidjson::Value& requiredMember(const rapidjson::Value& object, const char* key) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, key, std::string("no value for key ") + key);
  }
  return found->value;
}

} // namespace

std::string PendingChangeJournal::encodeJSON() const {
  JSONWriter json;
  json.startObject();
  json.key("version");
  json.int64(currentVersion);
  json.key("localCommit");
  json.int64(localCommit);
  json.key("saves");
  saves.encode(json);
  json.key("deletes");
  json.startArray();
  for (const auto& name : deletes) {
    json.string(name);
  }
  json.endArray();
  json.endObject();
  return json.takeText();
}

PendingChangeJournal PendingChangeJournal::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  const auto& object = readJSONObject(document);
  const auto version =
      DecodingError::within("version", [&] { return readJSONInt64(requiredMember(object, "version")); });
  if (version != currentVersion) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, "version",
                        "unknown pending-changes version " + std::to_string(version));
  }
  PendingChangeJournal journal;
  journal.localCommit = DecodingError::within(
      "localCommit", [&] { return readJSONInt64(requiredMember(object, "localCommit")); });
  journal.saves = DecodingError::within(
      "saves", [&] { return CloudKitCacheSnapshot::decode(requiredMember(object, "saves")); });
  const auto& deletes = requiredMember(object, "deletes");
  if (!deletes.IsArray()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, "deletes",
                        "expected array, got " + std::string(jsonKindName(deletes)));
  }
  for (rapidjson::SizeType index = 0; index < deletes.Size(); ++index) {
    const std::string path = "deletes/" + std::to_string(index);
    journal.deletes.emplace_back(
        DecodingError::within(path.c_str(), [&] { return readJSONString(deletes[index]); }));
  }
  return journal;
}

} // namespace vantrel
