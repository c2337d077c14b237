#pragma once

#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/JSON/RapidJSON.hpp"
#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// How deeply any JSON text the system reads may nest arrays and objects. Our files need about five
/// levels; the cap keeps a hostile file from costing a reader its stack or its time.
inline constexpr std::size_t maximumJSONDepth = 64;

/// Parses a whole JSON text without recursion. Refuses text that is not UTF-8 (escaped lone surrogates
/// included), anything after the document but white space (a NUL too), and nesting deeper than
/// maximumJSONDepth; a leading byte order mark is skipped. Throws DecodingError (dataCorrupted) naming the
/// line and column of the fault.
rapidjson::Document parseJSON(std::string_view text);

/// The kind of a JSON value as errors name it: "string", "integer", "number", "bool", "null", "object",
/// "array".
std::string_view jsonKindName(const rapidjson::Value& value);

/// Typed reads of one JSON value. Each throws DecodingError (typeMismatch) "expected <kind>, got <kind>"
/// with an empty coding path; callers add the path as the error travels outwards.
std::string_view readJSONString(const rapidjson::Value& value);
std::int64_t readJSONInt64(const rapidjson::Value& value);
bool readJSONBool(const rapidjson::Value& value);
double readJSONNumber(const rapidjson::Value& value);
const rapidjson::Value& readJSONObject(const rapidjson::Value& value);

/// Value codecs for every kind a record field can hold; the record codec is built from these. The writer
/// is any type with JSONWriter's calls.
template <class Writer> void writeJSONValue(Writer& writer, const std::string& value) {
  writer.string(value);
}
template <class Writer> void writeJSONValue(Writer& writer, std::int64_t value) {
  writer.int64(value);
}
template <class Writer> void writeJSONValue(Writer& writer, bool value) {
  writer.boolean(value);
}
template <class Writer> void writeJSONValue(Writer& writer, Date value) {
  writer.number(value.secondsSinceReferenceDate);
}
template <class Writer> void writeJSONValue(Writer& writer, const CalendarDate& value) {
  writer.string(value.description());
}

inline void readJSONValue(const rapidjson::Value& value, std::string& target) {
  target = readJSONString(value);
}
inline void readJSONValue(const rapidjson::Value& value, std::int64_t& target) {
  target = readJSONInt64(value);
}
inline void readJSONValue(const rapidjson::Value& value, bool& target) {
  target = readJSONBool(value);
}
inline void readJSONValue(const rapidjson::Value& value, Date& target) {
  target = Date{readJSONNumber(value)};
}
inline void readJSONValue(const rapidjson::Value& value, CalendarDate& target) {
  target = CalendarDate::decode(readJSONString(value));
}
/// JSON null reads as absent, like a missing key.
template <class T> void readJSONValue(const rapidjson::Value& value, std::optional<T>& target) {
  if (value.IsNull()) {
    target.reset();
    return;
  }
  T inner{};
  readJSONValue(value, inner);
  target = std::move(inner);
}

} // namespace vantrel
