#include "VantrelCore/Platform/UTF8.hpp"

namespace vantrel {
namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// The length of the well-formed sequence at `index`, or of its maximal ill-formed subpart negated (at
/// least one byte), so that a repair steps over exactly what one U+FFFD stands for.
int sequenceLength(std::string_view text, std::size_t index) {
  const auto lead = static_cast<unsigned char>(text[index]);
  if (lead < 0x80) {
    return 1;
  }
  int length = 0;
  unsigned char secondMinimum = 0x80;
  unsigned char secondMaximum = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) {
      secondMinimum = 0xA0; // shorter forms are overlong
    } else if (lead == 0xED) {
      secondMaximum = 0x9F; // D800-DFFF are surrogates
    }
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) {
      secondMinimum = 0x90;
    } else if (lead == 0xF4) {
      secondMaximum = 0x8F; // beyond U+10FFFF otherwise
    }
  } else {
    return -1;
  }
  for (int offset = 1; offset < length; ++offset) {
    if (index + std::size_t(offset) >= text.size()) {
      return -offset;
    }
    const auto byte = static_cast<unsigned char>(text[index + std::size_t(offset)]);
    const unsigned char minimum = offset == 1 ? secondMinimum : 0x80;
    const unsigned char maximum = offset == 1 ? secondMaximum : 0xBF;
    if (byte < minimum || byte > maximum) {
      return -offset;
    }
  }
  return length;
}

} // namespace

std::optional<std::size_t> firstInvalidUTF8Byte(std::string_view text) {
  std::size_t index = 0;
  while (index < text.size()) {
    const int length = sequenceLength(text, index);
    if (length < 0) {
      return index;
    }
    index += std::size_t(length);
  }
  return std::nullopt;
}

bool isValidUTF8(std::string_view text) {
  return !firstInvalidUTF8Byte(text).has_value();
}

std::string repairedUTF8(std::string_view text) {
  const auto first = firstInvalidUTF8Byte(text);
  if (!first) {
    return std::string(text);
  }
  std::string repaired(text.substr(0, *first));
  std::size_t index = *first;
  while (index < text.size()) {
    const int length = sequenceLength(text, index);
    if (length > 0) {
      repaired.append(text.substr(index, std::size_t(length)));
      index += std::size_t(length);
    } else {
      repaired.append(replacementCharacter);
      index += std::size_t(-length);
    }
  }
  return repaired;
}

} // namespace vantrel
