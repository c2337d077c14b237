#include "VantrelCore/JSON/JSONValue.hpp"

#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <algorithm>

namespace vantrel {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void mismatch(std::string_view expected, const rapidjson::Value& value) {
  throw DecodingError(DecodingError::Kind::typeMismatch, "",
                      "expected " + std::string(expected) + ", got " + std::string(jsonKindName(value)));
}

/// Builds the document from the parser's events, and stops the parse where the parser alone would let
/// something through: a container deeper than maximumJSONDepth, or a string holding a surrogate. The
/// parser checks the input's UTF-8 but turns an escaped lone low surrogate ("\udc00") into a surrogate's
/// bytes, which no UTF-8 text holds and which our writer refuses to write back.
class BoundedDocumentBuilder {
public:
  enum class Refusal { none, tooDeep, surrogate };

  explicit BoundedDocumentBuilder(rapidjson::Document& document) : document_(document) {}

  Refusal refusal() const { return refusal_; }

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool Int(int value) { return document_.Int(value); }
  bool Uint(unsigned value) { return document_.Uint(value); }
  bool Int64(std::int64_t value) { return document_.Int64(value); }
  bool Uint64(std::uint64_t value) { return document_.Uint64(value); }
  bool Double(double value) { return document_.Double(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool copy) {
    return document_.RawNumber(text, length, copy);
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) {
    return isUTF8(text, length) && document_.String(text, length, copy);
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    return isUTF8(text, length) && document_.Key(text, length, copy);
  }
  bool StartObject() { return open() && document_.StartObject(); }
  bool EndObject(rapidjson::SizeType memberCount) {
    --depth_;
    return document_.EndObject(memberCount);
  }
  bool StartArray() { return open() && document_.StartArray(); }
  bool EndArray(rapidjson::SizeType elementCount) {
    --depth_;
    return document_.EndArray(elementCount);
  }

private:
  bool open() {
    if (depth_ == maximumJSONDepth) {
      refusal_ = Refusal::tooDeep;
      return false;
    }
    ++depth_;
    return true;
  }
  bool isUTF8(const char* text, rapidjson::SizeType length) {
    // Every surrogate's bytes start with 0xED; the rare string that holds one is checked in full.
    const std::string_view string(text, length);
    if (string.find('\xED') != std::string_view::npos && !isValidUTF8(string)) {
      refusal_ = Refusal::surrogate;
      return false;
    }
    return true;
  }

  rapidjson::Document& document_;
  std::size_t depth_ = 0;
  Refusal refusal_ = Refusal::none;
};

[[noreturn]] void refuse(std::string_view text, std::size_t offset, std::string_view problem) {
  const auto before = text.substr(0, std::min(offset, text.size()));
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const auto lineStart = before.rfind('\n');
  const auto column = offset - (lineStart == std::string_view::npos ? 0 : lineStart + 1) + 1;
  throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                      "The given data was not valid JSON: " + std::string(problem) + " (line " +
                          std::to_string(line) + ", column " + std::to_string(column) + ")");
}

} // namespace

rapidjson::Document parseJSON(std::string_view text) {
  // A reader may skip a byte order mark, and an editor may put one before a file edited by hand.
  const std::size_t start = text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
  rapidjson::MemoryStream stream(text.data() + start, text.size() - start);
  rapidjson::ParseResult result;
  auto refusal = BoundedDocumentBuilder::Refusal::none;
  auto build = [&](rapidjson::Document& document) {
    BoundedDocumentBuilder builder(document);
    rapidjson::Reader reader;
    result = reader.Parse<jsonParseFlags>(stream, builder);
    refusal = builder.refusal();
    return !result.IsError();
  };
  rapidjson::Document document;
  document.Populate(build);
  if (!result.IsError() && stream.Tell() != text.size() - start) {
    // The parser takes a NUL for the end of the text: what follows one would be dropped unseen.
    result.Set(rapidjson::kParseErrorDocumentRootNotSingular, stream.Tell());
  }
  if (result.IsError()) {
    const auto offset = start + result.Offset();
    switch (refusal) {
    case BoundedDocumentBuilder::Refusal::tooDeep:
      refuse(text, offset, "More than " + std::to_string(maximumJSONDepth) + " nested arrays and objects.");
    case BoundedDocumentBuilder::Refusal::surrogate:
      refuse(text, offset, rapidjson::GetParseError_En(rapidjson::kParseErrorStringUnicodeSurrogateInvalid));
    case BoundedDocumentBuilder::Refusal::none:
      refuse(text, offset, rapidjson::GetParseError_En(result.Code()));
    }
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
