#include "VantrelCore/Store/SavedEngineState.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {

std::string SavedEngineState::encode(std::int64_t localCommit, std::string_view engineSerialization) {
  std::string text = "{\"localCommit\":" + std::to_string(localCommit) + ",\"engine\":";
  text += engineSerialization;
  text += "}";
  return text;
}

SavedEngineState SavedEngineState::decode(std::string_view bytes) {
  const auto document = parseJSON(bytes);
  const auto& object = readJSONObject(document);
  const auto engine = object.FindMember("engine");
  if (engine == object.MemberEnd()) {
    return SavedEngineState{.state = SyncEngineState::decode(object)};
  }
  const auto commit = object.FindMember("localCommit");
  if (commit == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, "localCommit", "no value for key localCommit");
  }
  SavedEngineState saved;
  saved.localCommit = DecodingError::within("localCommit", [&] { return readJSONInt64(commit->value); });
  saved.state = DecodingError::within("engine", [&] { return SyncEngineState::decode(engine->value); });
  return saved;
}

} // namespace vantrel
