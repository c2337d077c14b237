#pragma once

#include "VantrelCore/JSON/RapidJSON.hpp"
#include "VantrelCore/Model/Date.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

/// Writes compact JSON text: no pretty printing, keys in the order they are written.
class JSONWriter {
public:
  JSONWriter();

  void startObject() { writer_.StartObject(); }
  void endObject() { writer_.EndObject(); }
  void startArray() { writer_.StartArray(); }
  void endArray() { writer_.EndArray(); }
  /// Both throw std::invalid_argument when the text is not valid UTF-8.
  void key(std::string_view key);
  void string(std::string_view value);
  void int64(std::int64_t value) { writer_.Int64(value); }
  void boolean(bool value) { writer_.Bool(value); }
  void null() { writer_.Null(); }
  /// The shortest digits that read back as the same double, never in exponent form.
  void number(double value);
  /// An instant as seconds since 2001-01-01, fractions kept.
  void date(Date value) { number(value.secondsSinceReferenceDate); }

  /// The text written so far; complete once every object and array is closed.
  std::string_view text() const { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, rapidjson::CrtAllocator,
                    rapidjson::kWriteValidateEncodingFlag>
      writer_;
};

} // namespace vantrel
