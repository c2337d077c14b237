#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

/// SHA-256 of a byte string, computed by OpenSSL's libcrypto.
class SHA256 {
public:
  SHA256() = delete;

  static std::array<std::uint8_t, 32> digest(std::string_view bytes);
  /// The digest as 64 lower-case hexadecimal digits.
  static std::string hexDigest(std::string_view bytes);
};

} // namespace vantrel
