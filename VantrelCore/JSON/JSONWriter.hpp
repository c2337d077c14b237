#pragma once

#include "VantrelCore/JSON/RapidJSON.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace vantrel {

/// Writes compact JSON text: no pretty printing, keys in the order they are written.
class JSONWriter {
public:
  JSONWriter();
  JSONWriter(const JSONWriter&) = delete;
  JSONWriter& operator=(const JSONWriter&) = delete;

  /// Makes room for `bytes` of text up front, so that a large document is not copied as it grows.
  void reserve(std::size_t bytes) { output_.text.reserve(bytes); }

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
  std::string_view text() const { return output_.text; }
  /// The text written, handed over without a copy; the writer is spent.
  std::string takeText() { return std::move(output_.text); }

private:
  /// RapidJSON's output stream concept over a std::string, which the text can leave without a copy.
  struct Output {
    using Ch = char;
    void Put(char c) { text.push_back(c); }
    void Flush() {}
    std::string text;
  };

  Output output_;
  rapidjson::Writer<Output, rapidjson::UTF8<>, rapidjson::UTF8<>, rapidjson::CrtAllocator,
                    rapidjson::kWriteValidateEncodingFlag>
      writer_;
};

} // namespace vantrel
