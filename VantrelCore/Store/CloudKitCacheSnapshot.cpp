#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"

#include "VantrelCore/JSON/RecordJSON.hpp"

namespace vantrel {
namespace {

/// Generated and real data alike average a little over 100 bytes per record; a guess on the high side
/// spares the text its copies as it grows.
constexpr std::size_t estimatedBytesPerRecord = 128;

} // namespace

std::size_t CloudKitCacheSnapshot::recordCount() const {
  std::size_t count = schemaVersion ? 1 : 0;
  std::apply([&](const auto&... map) { ((count += (this->*map.second).size()), ...); }, maps());
  return count;
}

std::string CloudKitCacheSnapshot::encodeJSON() const {
  JSONWriter writer;
  writer.reserve(recordCount() * estimatedBytesPerRecord);
  encode(writer);
  return writer.takeText();
}

void CloudKitCacheSnapshot::encode(JSONWriter& writer) const {
  writer.startObject();
  writer.key("snapshotVersion");
  writer.int64(snapshotVersion);
  if (localCommit) {
    writer.key("localCommit");
    writer.int64(*localCommit);
  }
  writer.key("currentUserRef");
  writer.string(currentUserRef);
  std::apply([&](const auto&... map) { (encodeRecordMap(writer, map.first, this->*map.second), ...); },
             maps());
  if (schemaVersion) {
    writer.key("schemaVersion");
    encodeRecord(writer, *schemaVersion);
  }
  writer.endObject();
}

CloudKitCacheSnapshot CloudKitCacheSnapshot::decodeJSON(std::string_view text) {
  return decode(parseJSON(text));
}

CloudKitCacheSnapshot CloudKitCacheSnapshot::decode(const rapidjson::Value& object) {
  readJSONObject(object);
  CloudKitCacheSnapshot snapshot;
  snapshot.snapshotVersion = 0;
  for (const auto& member : object.GetObject()) {
    const std::string_view key(member.name.GetString(), member.name.GetStringLength());
    if (key == "snapshotVersion") {
      snapshot.snapshotVersion =
          DecodingError::within(std::string(key), [&] { return readJSONInt64(member.value); });
    } else if (key == "localCommit") {
      snapshot.localCommit =
          DecodingError::within(std::string(key), [&] { return readJSONInt64(member.value); });
    } else if (key == "currentUserRef") {
      snapshot.currentUserRef =
          DecodingError::within(std::string(key), [&] { return std::string(readJSONString(member.value)); });
    } else if (key == "schemaVersion") {
      snapshot.schemaVersion = DecodingError::within(
          std::string(key), [&] { return decodeRecord<SchemaVersionRecord>(member.value); });
    } else {
      std::apply(
          [&](const auto&... map) {
            ((key == map.first ? decodeRecordMap(member.value, map.first, snapshot.*map.second) : void()),
             ...);
          },
          maps());
    }
  }
  return snapshot;
}

} // namespace vantrel
