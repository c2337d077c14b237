#include "VantrelCore/Bridge/BridgeScope.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

namespace vantrel {
namespace {

constexpr std::string_view areasKey = "areas";

std::string_view nameOf(const rapidjson::Value& key) {
  return {key.GetString(), key.GetStringLength()};
}

} // namespace

BridgeScope BridgeScope::allAreas(const CloudKitCache& cache) {
  BridgeScope scope;
  for (const auto& [recordName, area] : cache.areas()) {
    scope.areas.insert(recordName);
  }
  return scope;
}

std::string BridgeScope::encodeJSON() const {
  JSONWriter json;
  json.startObject();
  json.key(areasKey);
  json.startArray();
  for (const auto& area : areas) {
    json.string(area);
  }
  json.endArray();
  json.endObject();
  return json.takeText();
}

BridgeScope BridgeScope::decodeJSON(std::string_view text) {
  const auto document = parseJSON(text);
  const auto& object = readJSONObject(document);
  if (object.MemberCount() == 0) {
    throw DecodingError(DecodingError::Kind::keyNotFound, std::string(areasKey),
                        "a bridge scope needs the key \"areas\"");
  }
  for (const auto& member : object.GetObject()) {
    const auto key = nameOf(member.name);
    if (key != areasKey) {
      throw DecodingError(DecodingError::Kind::dataCorrupted, std::string(key),
                          "unexpected key \"" + std::string(key) + "\" in a bridge scope");
    }
  }
  if (object.MemberCount() > 1) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, std::string(areasKey),
                        "the key \"areas\" appears more than once");
  }
  const auto& list = object.MemberBegin()->value;
  if (!list.IsArray()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, std::string(areasKey),
                        "expected array, got " + std::string(jsonKindName(list)));
  }
  BridgeScope scope;
  for (rapidjson::SizeType index = 0; index < list.Size(); ++index) {
    const auto area = DecodingError::within(std::string(areasKey) + "/" + std::to_string(index),
                                            [&] { return std::string(readJSONString(list[index])); });
    if (area.empty() || !scope.areas.insert(area).second) {
      throw DecodingError(DecodingError::Kind::dataCorrupted,
                          std::string(areasKey) + "/" + std::to_string(index),
                          area.empty() ? "an area's record name is empty"
                                       : "the area \"" + area + "\" is listed more than once");
    }
  }
  return scope;
}

std::size_t BridgeScope::hash() const {
  std::size_t seed = areas.size();
  for (const auto& area : areas) {
    seed ^= std::hash<std::string>()(area) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  }
  return seed;
}

} // namespace vantrel
