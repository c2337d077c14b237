#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"

#include <array>
#include <cstdint>

namespace vantrel {

std::string RandomUUIDGenerator::uuidString() {
  std::array<std::uint8_t, 16> bytes{};
  {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
      const auto word = device_();
      for (std::size_t j = 0; j < 4; ++j) {
        bytes[i + j] = std::uint8_t(word >> (8 * j));
      }
    }
  }
  bytes[6] = std::uint8_t((bytes[6] & 0x0F) | 0x40); // version 4
  bytes[8] = std::uint8_t((bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) {
      text += '-';
    }
    text += hex[bytes[i] >> 4];
    text += hex[bytes[i] & 0x0F];
  }
  return text;
}

} // namespace vantrel
