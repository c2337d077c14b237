#pragma once

#include "VantrelCore/JSON/JSONScanner.hpp"
#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Model/RecordField.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

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

namespace detail {

/// How a field's value is checked in a record's text: whether it may be null, what it must be otherwise.
struct ScannedField {
  std::string_view key;
  bool isOptional = false;
  std::string_view expected;
  bool (*fits)(std::string_view rawValue) = nullptr;
};

template <class Value> constexpr ScannedField scannedField(std::string_view key) {
  if constexpr (isOptionalField<Value>) {
    auto field = scannedField<typename Value::value_type>(key);
    field.isOptional = true;
    return field;
  } else if constexpr (std::is_same_v<Value, std::string>) {
    return {key, false, "string", [](std::string_view raw) { return raw.front() == '"'; }};
  } else if constexpr (std::is_same_v<Value, std::int64_t>) {
    return {key, false, "integer", [](std::string_view raw) { return JSONScanner::isInt64(raw); }};
  } else if constexpr (std::is_same_v<Value, bool>) {
    return {key, false, "bool",
            [](std::string_view raw) { return raw.front() == 't' || raw.front() == 'f'; }};
  } else {
    static_assert(std::is_same_v<Value, Date>, "a record field of a kind scanRecord() cannot check");
    return {key, false, "number", [](std::string_view raw) {
              return raw.front() == '-' || (raw.front() >= '0' && raw.front() <= '9');
            }};
  }
}

template <class Record> constexpr auto scannedFields() {
  std::array<ScannedField, recordFieldCount<Record>()> fields{};
  std::size_t index = 0;
  forEachRecordField<Record>([&](const auto& field) {
    fields[index++] = scannedField<typename std::decay_t<decltype(field)>::ValueType>(field.key);
  });
  return fields;
}

/// The place of the field named `key` among `fields`, `fields.size()` when none; `next`, where writers put
/// the next field, is looked at first.
template <std::size_t Count>
std::size_t scannedFieldIndex(const std::array<ScannedField, Count>& fields, std::string_view key,
                              std::size_t next) {
  // Keys are a few letters: compared in place, as a library call for each would cost more than the
  // comparison.
  const auto is = [&](std::size_t index) {
    const auto fieldKey = fields[index].key;
    if (fieldKey.size() != key.size()) {
      return false;
    }
    for (std::size_t at = 0; at < key.size(); ++at) {
      if (fieldKey[at] != key[at]) {
        return false;
      }
    }
    return true;
  };
  if (next < Count && is(next)) {
    return next;
  }
  std::size_t index = 0;
  while (index < Count && !is(index)) {
    ++index;
  }
  return index;
}

} // namespace detail

/// The place of a field in Record::fields().
template <class Record> constexpr std::size_t recordFieldIndex(std::string_view key) {
  std::size_t index = 0;
  std::size_t found = recordFieldCount<Record>();
  forEachRecordField<Record>([&](const auto& field) {
    if (field.key == key) {
      found = index;
    }
    ++index;
  });
  return found;
}

/// Reads the record the scanner stands before and refuses it exactly where decodeRecord() refuses it,
/// without building it: a value that is no object, a field's key given twice, a value of the wrong kind, a
/// required field missing. Unknown keys are skipped (their values checked as JSON). Calls
/// onField(index, rawValue) for every field it holds, the index the field's place in Record::fields().
/// Throws DecodingError whose coding path is the key.
template <class Record, class OnField> void scanRecord(JSONScanner& scanner, OnField&& onField) {
  static constexpr auto fields = detail::scannedFields<Record>();
  static_assert(fields.size() <= 32);
  if (scanner.peekValue() != '{') {
    throw DecodingError(DecodingError::Kind::typeMismatch, "",
                        std::string(Record::typeName) + " must be a JSON object, got " +
                            std::string(JSONScanner::kindName(scanner.skipValue())));
  }
  scanner.enterObject();
  std::uint32_t seen = 0;
  std::size_t next = 0;
  std::string_view rawKey;
  while (scanner.nextMember(rawKey)) {
    // Keys are compared as written; only one that holds an escape, which no field's key does, is resolved.
    std::string unescapedKey;
    std::string_view key = rawKey;
    std::size_t index = detail::scannedFieldIndex(fields, key, next);
    if (index == fields.size() && rawKey.find('\\') != std::string_view::npos) {
      unescapedKey = JSONScanner::unescaped(rawKey);
      key = unescapedKey;
      index = detail::scannedFieldIndex(fields, key, next);
    }
    const auto value = scanner.skipValue();
    if (index == fields.size()) {
      continue;
    }
    const auto& field = fields[index];
    if (seen & (1u << index)) {
      throw DecodingError(DecodingError::Kind::dataCorrupted, std::string(key),
                          std::string(Record::typeName) + " has key '" + std::string(key) +
                              "' more than once");
    }
    if (!(field.isOptional && value == "null") && !field.fits(value)) {
      throw DecodingError(DecodingError::Kind::typeMismatch, std::string(key),
                          std::string(Record::typeName) + " key '" + std::string(key) + "': expected " +
                              std::string(field.expected) + ", got " +
                              std::string(JSONScanner::kindName(value)));
    }
    seen |= 1u << index;
    next = index + 1;
    onField(index, value);
  }
  for (std::size_t index = 0; index < fields.size(); ++index) {
    if (!fields[index].isOptional && !(seen & (1u << index))) {
      throw DecodingError(DecodingError::Kind::keyNotFound, std::string(fields[index].key),
                          std::string(Record::typeName) + " is missing required key '" +
                              std::string(fields[index].key) + "'");
    }
  }
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
