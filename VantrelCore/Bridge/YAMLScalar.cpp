#include "VantrelCore/Bridge/YAMLScalar.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace vantrel {
namespace {

bool isPlainCharacter(UChar32 character) {
  if (character < 0) {
    return false;
  }
  if (character < 0x80) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == ' ' || character == '_' ||
           character == '-' || character == '/' || character == '.' || character == '@';
  }
  return (U_GET_GC_MASK(character) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

/// Each code point of well-formed UTF-8 text with the bytes it takes.
template <class OnCharacter> void forEachCharacter(std::string_view text, OnCharacter onCharacter) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = std::int32_t(text.size());
  for (std::int32_t offset = 0; offset < length;) {
    const auto start = offset;
    UChar32 character = 0;
    U8_NEXT(bytes, offset, length, character);
    onCharacter(character, text.substr(std::size_t(start), std::size_t(offset - start)));
  }
}

bool isPlain(std::string_view text) {
  // A YAML reader takes a leading "@", or a dash followed by a blank or nothing, for syntax, not text.
  if (text.front() == ' ' || text.back() == ' ' || text.front() == '@' || text == "-" ||
      text.starts_with("- ")) {
    return false;
  }
  bool plain = true;
  forEachCharacter(
      text, [&](UChar32 character, std::string_view) { plain = plain && isPlainCharacter(character); });
  return plain;
}

/// Whether YAML allows the character in a file as it is: tab, line breaks, and the printable characters.
bool isCarriedRaw(UChar32 character) {
  return character == '\t' || character == '\n' || character == '\r' || character == 0x85 ||
         (character >= 0x20 && character <= 0x7E) || (character >= 0xA0 && character <= 0xD7FF) ||
         (character >= 0xE000 && character <= 0xFFFD) || character >= 0x10000;
}

std::string escaped(UChar32 character) {
  std::array<char, 11> buffer{};
  std::snprintf(buffer.data(), buffer.size(), character <= 0xFF ? "\\x%02X" : "\\u%04X", unsigned(character));
  return buffer.data();
}

/// A reader turns these into line feeds, or folds them, wherever they stand unescaped.
bool isLineBreak(UChar32 character) {
  return character == '\n' || character == '\r' || character == 0x85 || character == 0x2028 ||
         character == 0x2029;
}

} // namespace

bool YAMLScalar::fitsLiteralBlock(std::string_view text) {
  bool fits = !text.ends_with('\n');
  forEachCharacter(text, [&](UChar32 character, std::string_view) {
    fits =
        fits && character >= 0 && (character == '\n' || (!isLineBreak(character) && isCarriedRaw(character)));
  });
  return fits;
}

std::string YAMLScalar::exactlyQuoted(std::string_view text) {
  std::string result = "\"";
  forEachCharacter(text, [&](UChar32 character, std::string_view bytes) {
    switch (character) {
    case '\\':
    case '"':
      result += '\\';
      result += char(character);
      break;
    case '\n':
      result += "\\n";
      break;
    case '\r':
      result += "\\r";
      break;
    case 0x85:
      result += "\\N";
      break;
    case 0x2028:
      result += "\\L";
      break;
    case 0x2029:
      result += "\\P";
      break;
    default:
      result += character >= 0 && !isCarriedRaw(character) ? escaped(character) : std::string(bytes);
    }
  });
  return result + "\"";
}

std::string YAMLScalar::quoted(std::string_view text) {
  return !text.empty() && isPlain(text) ? std::string(text) : doubleQuoted(text);
}

std::string YAMLScalar::doubleQuoted(std::string_view text) {
  std::string result = "\"";
  forEachCharacter(text, [&](UChar32 character, std::string_view bytes) {
    if (character == '\\' || character == '"') {
      result += '\\';
    }
    // A character YAML does not allow in a file at all is escaped; its escape reads back as the character.
    result += character >= 0 && !isCarriedRaw(character) ? escaped(character) : std::string(bytes);
  });
  return result + "\"";
}

} // namespace vantrel
