#include "VantrelCore/Platform/HexText.hpp"

namespace vantrel {

std::string hexText(std::string_view bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const unsigned char byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0x0f];
  }
  return text;
}

std::optional<std::string> bytesOfHexText(std::string_view text) {
  const auto value = [](char digit) -> int {
    if (digit >= '0' && digit <= '9') {
      return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
      return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
      return digit - 'A' + 10;
    }
    return -1;
  };
  if (text.size() % 2 != 0) {
    return std::nullopt;
  }
  std::string bytes;
  bytes.reserve(text.size() / 2);
  for (std::size_t index = 0; index < text.size(); index += 2) {
    const int high = value(text[index]);
    const int low = value(text[index + 1]);
    if (high < 0 || low < 0) {
      return std::nullopt;
    }
    bytes += char(high * 16 + low);
  }
  return bytes;
}

} // namespace vantrel
