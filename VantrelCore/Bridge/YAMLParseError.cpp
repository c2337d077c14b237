#include "VantrelCore/Bridge/YAMLParseError.hpp"

#include <array>
#include <cstdio>

namespace vantrel {
namespace {

constexpr std::size_t longestQuotedText = 60;

std::string located(const std::string& fileLabel, std::optional<std::size_t> line,
                    const std::string& reason) {
  return fileLabel + (line ? ":" + std::to_string(*line) : "") + ": " + reason;
}

std::string escaped(unsigned codePoint) {
  std::array<char, 7> buffer{};
  std::snprintf(buffer.data(), buffer.size(), codePoint < 0x80 ? "\\x%02X" : "\\u%04X", codePoint);
  return buffer.data();
}

} // namespace

YAMLParseError::YAMLParseError(std::string fileLabel, std::optional<std::size_t> line, std::string reason)
    : std::runtime_error(located(fileLabel, line, reason)), fileLabel_(std::move(fileLabel)), line_(line),
      reason_(std::move(reason)) {}

std::string YAMLParseError::quoted(std::string_view text) {
  std::size_t end = text.size();
  if (end > longestQuotedText) {
    end = longestQuotedText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
      --end; // never cut a character in two
    }
  }
  std::string result = "'";
  for (std::size_t index = 0; index < end; ++index) {
    const auto byte = static_cast<unsigned char>(text[index]);
    const auto next = index + 1 < text.size() ? static_cast<unsigned char>(text[index + 1]) : 0;
    if (byte == '\n') {
      result += "\\n";
    } else if (byte < 0x20 || byte == 0x7F) {
      result += escaped(byte);
    } else if (byte == 0xC2 && next >= 0x80 && next <= 0x9F) {
      result += escaped(next); // a C1 control character such as U+009B, which terminals obey too
      ++index;
    } else {
      result += char(byte);
    }
  }
  return result + (end < text.size() ? "…'" : "'");
}

} // namespace vantrel
