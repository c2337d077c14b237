#pragma once

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

/// Writes a record as one JSON object whose keys are its field names; absent optional fields are left out.
template <class Writer, class Record> void encodeRecord(Writer& writer, const Record& record) {
  writer.startObject();
  forEachRecordField<Record>([&](const auto& field) {
    const auto& value = record.*field.member;
    if constexpr (isOptionalField<std::decay_t<decltype(value)>>) {
      if (value) {
        writer.key(field.key);
        writeJSONValue(writer, *value);
      }
    } else {
      writer.key(field.key);
      writeJSONValue(writer, value);
    }
  });
  writer.endObject();
}

template <class Record> std::string encodeRecordJSON(const Record& record) {
  JSONWriter writer;
  encodeRecord(writer, record);
  return std::string(writer.text());
}

namespace detail {

/// How errors name a record: its type and, when the object carries one, its record name.
std::string describeRecord(std::string_view typeName, const rapidjson::Value& object);

} // namespace detail

/// Reads a record from a JSON object. Every non-optional field is required; unknown keys are ignored so
/// that a newer writer's extra fields do not lock out an older reader. A field's key given twice is
/// refused: readers that look a field up in the text (the widget's) would see the first, a decode the last.
/// Throws DecodingError whose coding path is the key and whose text names the record and the key.
template <class Record> Record decodeRecord(const rapidjson::Value& value) {
  static_assert(recordFieldCount<Record>() <= 32);
  if (!value.IsObject()) {
    throw DecodingError(DecodingError::Kind::typeMismatch, "",
                        std::string(Record::typeName) + " must be a JSON object, got " +
                            std::string(jsonKindName(value)));
  }
  Record record;
  std::uint32_t seen = 0;
  for (const auto& member : value.GetObject()) {
    const std::string_view key(member.name.GetString(), member.name.GetStringLength());
    std::uint32_t bit = 1;
    forEachRecordField<Record>([&](const auto& field) {
      if (field.key == key) {
        if (seen & bit) {
          throw DecodingError(DecodingError::Kind::dataCorrupted, std::string(key),
                              detail::describeRecord(Record::typeName, value) + " has key '" +
                                  std::string(key) + "' more than once");
        }
        try {
          readJSONValue(member.value, record.*field.member);
        } catch (const DecodingError& error) {
          throw DecodingError(error.kind(), std::string(key),
                              detail::describeRecord(Record::typeName, value) + " key '" + std::string(key) +
                                  "': " + error.debugDescription());
        }
        seen |= bit;
      }
      bit <<= 1;
    });
  }
  std::uint32_t bit = 1;
  forEachRecordField<Record>([&](const auto& field) {
    using Value = typename std::decay_t<decltype(field)>::ValueType;
    if (!isOptionalField<Value> && !(seen & bit)) {
      throw DecodingError(DecodingError::Kind::keyNotFound, std::string(field.key),
                          detail::describeRecord(Record::typeName, value) + " is missing required key '" +
                              std::string(field.key) + "'");
    }
    bit <<= 1;
  });
  return record;
}

template <class Record> Record decodeRecordJSON(std::string_view text) {
  return decodeRecord<Record>(parseJSON(text));
}

/// A map of record name to record as one JSON object, under `key`.
template <class Writer, class Map>
void encodeRecordMap(Writer& writer, std::string_view key, const Map& map) {
  writer.key(key);
  writer.startObject();
  for (const auto& [name, record] : map) {
    writer.key(name);
    encodeRecord(writer, record);
  }
  writer.endObject();
}

/// Reads an object of record name to record into `target`. A record filed under another name than its
/// own is refused, so that no two names can claim one record. Errors carry the path from `mapKey` on.
template <class Map>
void decodeRecordMap(const rapidjson::Value& value, std::string_view mapKey, Map& target) {
  using Record = typename Map::mapped_type;
  const auto nested = [](const std::string& path, auto read) -> decltype(read()) {
    try {
      return read();
    } catch (const DecodingError& error) {
      throw error.nestedIn(path);
    }
  };
  const auto& object =
      nested(std::string(mapKey), [&]() -> const rapidjson::Value& { return readJSONObject(value); });
  target.reserve(object.MemberCount());
  for (const auto& member : object.GetObject()) {
    std::string name(member.name.GetString(), member.name.GetStringLength());
    const auto path = std::string(mapKey) + "/" + name;
    auto record = nested(path, [&] { return decodeRecord<Record>(member.value); });
    if (record.recordName != name) {
      throw DecodingError(DecodingError::Kind::dataCorrupted, path,
                          "record '" + record.recordName + "' is filed under '" + name + "'");
    }
    target.insert_or_assign(std::move(name), std::move(record));
  }
}

} // namespace vantrel
