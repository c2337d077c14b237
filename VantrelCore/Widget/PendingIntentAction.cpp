#include "VantrelCore/Widget/PendingIntentAction.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {
namespace {

constexpr std::string_view markDoneText = "markDone";

const rapidjson::Value& member(const rapidjson::Value& object, const char* key, std::size_t index) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, std::to_string(index) + "/" + key,
                        std::string("No value associated with key \"") + key + "\"");
  }
  return found->value;
}

template <class Read> auto at(std::size_t index, const char* key, Read read) {
  try {
    return read();
  } catch (const DecodingError& error) {
    throw error.nestedIn(std::to_string(index) + "/" + key);
  }
}

} // namespace

std::string PendingIntentAction::encodeList(const std::vector<PendingIntentAction>& actions) {
  JSONWriter json;
  json.startArray();
  for (const auto& action : actions) {
    json.startObject();
    json.key("id");
    json.string(action.id);
    json.key("kind");
    json.string(markDoneText);
    json.key("taskRecordName");
    json.string(action.taskRecordName);
    json.key("done");
    json.boolean(action.done);
    json.key("createdAt");
    json.date(action.createdAt);
    json.endObject();
  }
  json.endArray();
  return json.takeText();
}

std::vector<PendingIntentAction> PendingIntentAction::decodeList(std::string_view text) {
  const auto document = parseJSON(text);
  if (!document.IsArray()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, "",
                        "expected array, got " + std::string(jsonKindName(document)));
  }
  std::vector<PendingIntentAction> actions;
  std::size_t index = 0;
  for (const auto& element : document.GetArray()) {
    if (!element.IsObject()) {
      throw DecodingError(DecodingError::Kind::typeMismatch, std::to_string(index),
                          "expected object, got " + std::string(jsonKindName(element)));
    }
    PendingIntentAction action;
    action.id = at(index, "id", [&] { return std::string(readJSONString(member(element, "id", index))); });
    const auto kind = at(index, "kind", [&] { return readJSONString(member(element, "kind", index)); });
    if (kind != markDoneText) {
      throw DecodingError(DecodingError::Kind::dataCorrupted, std::to_string(index) + "/kind",
                          "Cannot initialize Kind from invalid String value " + std::string(kind));
    }
    action.taskRecordName = at(index, "taskRecordName", [&] {
      return std::string(readJSONString(member(element, "taskRecordName", index)));
    });
    action.done = at(index, "done", [&] { return readJSONBool(member(element, "done", index)); });
    action.createdAt =
        at(index, "createdAt", [&] { return Date{readJSONNumber(member(element, "createdAt", index))}; });
    actions.push_back(std::move(action));
    ++index;
  }
  return actions;
}

} // namespace vantrel
