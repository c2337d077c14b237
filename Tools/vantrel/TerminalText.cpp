#include "Tools/vantrel/TerminalText.hpp"

#include "VantrelCore/Platform/UTF8.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <unicode/utf8.h>

namespace vantrel::cli {
namespace {

// Characters that move the cursor, start an escape sequence or reorder what follows them on the line: a
// title could otherwise clear the screen, fake other lines or show its text backwards.
bool needsEscape(UChar32 character) {
  return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0x061C ||
         character == 0x200E || character == 0x200F || (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

void appendHex(std::string& shown, const char* format, unsigned value) {
  std::array<char, 8> escape{};
  const int length = std::snprintf(escape.data(), escape.size(), format, value);
  shown.append(escape.data(), std::size_t(length));
}

void appendEscape(std::string& shown, UChar32 character) {
  switch (character) {
  case '\n':
    shown += "\\n";
    return;
  case '\r':
    shown += "\\r";
    return;
  case '\t':
    shown += "\\t";
    return;
  default:
    break;
  }
  appendHex(shown, character < 0x80 ? "\\x%02x" : "\\u%04x", unsigned(character));
}

/// Appends well-formed UTF-8, escaping what needs it.
void appendValid(std::string& shown, std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t start = 0;
  std::size_t index = 0;
  while (index < text.size()) {
    const std::size_t at = index;
    UChar32 character = 0;
    U8_NEXT_UNSAFE(bytes, index, character);
    if (needsEscape(character)) {
      shown.append(text.substr(start, at - start));
      appendEscape(shown, character);
      start = index;
    }
  }
  shown.append(text.substr(start));
}

} // namespace

std::string terminalText(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const auto invalid = firstInvalidUTF8Byte(text);
    appendValid(shown, text.substr(0, invalid.value_or(text.size())));
    if (!invalid) {
      break;
    }
    appendHex(shown, "\\x%02x", unsigned(std::uint8_t(text[*invalid])));
    text.remove_prefix(*invalid + 1);
  }
  return shown;
}

} // namespace vantrel::cli
