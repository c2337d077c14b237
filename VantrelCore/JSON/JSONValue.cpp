#include "VantrelCore/JSON/JSONValue.hpp"

#include "VantrelCore/Model/DecodingError.hpp"

#include <algorithm>

namespace vantrel {
namespace {

[[noreturn]] void mismatch(std::string_view expected, const rapidjson::Value& value) {
  throw DecodingError(DecodingError::Kind::typeMismatch, "",
                      "expected " + std::string(expected) + ", got " + std::string(jsonKindName(value)));
}

} // namespace

rapidjson::Document parseJSON(std::string_view text) {
  rapidjson::Document document;
  document.Parse<jsonParseFlags>(text.data(), text.size());
  if (document.HasParseError()) {
    const auto offset = document.GetErrorOffset();
    const auto before = text.substr(0, std::min(offset, text.size()));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const auto lineStart = before.rfind('\n');
    const auto column = offset - (lineStart == std::string_view::npos ? 0 : lineStart + 1) + 1;
    throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                        "The given data was not valid JSON: " +
                            std::string(rapidjson::GetParseError_En(document.GetParseError())) + " (line " +
                            std::to_string(line) + ", column " + std::to_string(column) + ")");
  }
  return document;
}

std::string_view jsonKindName(const rapidjson::Value& value) {
  switch (value.GetType()) {
  case rapidjson::kNullType:
    return "null";
  case rapidjson::kFalseType:
  case rapidjson::kTrueType:
    return "bool";
  case rapidjson::kObjectType:
    return "object";
  case rapidjson::kArrayType:
    return "array";
  case rapidjson::kStringType:
    return "string";
  case rapidjson::kNumberType:
    return value.IsInt64() ? "integer" : "number";
  }
  return "unknown";
}

std::string_view readJSONString(const rapidjson::Value& value) {
  if (!value.IsString()) {
    mismatch("string", value);
  }
  return {value.GetString(), value.GetStringLength()};
}

std::int64_t readJSONInt64(const rapidjson::Value& value) {
  // Only integer tokens: 1.7 or 2000.0 where an integer belongs is an error, never a silent truncation.
  if (!value.IsInt64()) {
    mismatch("integer", value);
  }
  return value.GetInt64();
}

bool readJSONBool(const rapidjson::Value& value) {
  if (!value.IsBool()) {
    mismatch("bool", value);
  }
  return value.GetBool();
}

double readJSONNumber(const rapidjson::Value& value) {
  if (!value.IsNumber()) {
    mismatch("number", value);
  }
  return value.GetDouble();
}

const rapidjson::Value& readJSONObject(const rapidjson::Value& value) {
  if (!value.IsObject()) {
    mismatch("object", value);
  }
  return value;
}

} // namespace vantrel
