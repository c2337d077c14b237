#include "VantrelCore/JSON/JSONWriter.hpp"

#include <charconv>
#include <cmath>
#include <stdexcept>

namespace vantrel {

JSONWriter::JSONWriter() : writer_(output_) {}

void JSONWriter::key(std::string_view key) {
  if (!writer_.Key(key.data(), rapidjson::SizeType(key.size()))) {
    throw std::invalid_argument("JSON text must be valid UTF-8");
  }
}

void JSONWriter::string(std::string_view value) {
  if (!writer_.String(value.data(), rapidjson::SizeType(value.size()))) {
    throw std::invalid_argument("JSON text must be valid UTF-8");
  }
}

void JSONWriter::number(double value) {
  if (!std::isfinite(value)) {
    throw std::invalid_argument("JSON cannot hold a number that is not finite");
  }
  char digits[400];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed).ptr;
  writer_.RawValue(digits, std::size_t(end - digits), rapidjson::kNumberType);
}

} // namespace vantrel
