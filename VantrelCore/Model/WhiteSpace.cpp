#include "VantrelCore/Model/WhiteSpace.hpp"

#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace vantrel {
namespace {

// Unicode white space and newlines: the space separators (Zs, which include U+00A0, U+2007 and U+3000),
// the line and paragraph separators U+2028 and U+2029, tab, LF, VT, FF, CR and NEL.
bool isWhiteSpaceOrNewline(UChar32 character) {
  if (character < 0) {
    return false;
  }
  const auto type = u_charType(character);
  return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR ||
         (character >= 0x09 && character <= 0x0D) || character == 0x85;
}

} // namespace

// Works on the UTF-8 bytes so that whatever lies between the trimmed ends is kept byte for byte.
std::string_view trimmingWhiteSpaceAndNewlines(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = std::int32_t(text.size());
  std::int32_t start = 0;
  while (start < length) {
    std::int32_t next = start;
    UChar32 character = 0;
    U8_NEXT(bytes, next, length, character);
    if (!isWhiteSpaceOrNewline(character)) {
      break;
    }
    start = next;
  }
  std::int32_t end = length;
  while (end > start) {
    std::int32_t previous = end;
    UChar32 character = 0;
    U8_PREV(bytes, start, previous, character);
    if (!isWhiteSpaceOrNewline(character)) {
      break;
    }
    end = previous;
  }
  return text.substr(std::size_t(start), std::size_t(end - start));
}

} // namespace vantrel
