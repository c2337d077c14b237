#include "VantrelCore/Platform/SHA256.hpp"

#include "VantrelCore/Platform/HexText.hpp"

#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

namespace vantrel {
namespace {

struct MessageDigestFree {
  void operator()(EVP_MD* digest) const { EVP_MD_free(digest); }
};

// Fetching looks the algorithm up in the provider tables; do it once for the process.
const EVP_MD* sha256Algorithm() {
  static const std::unique_ptr<EVP_MD, MessageDigestFree> algorithm(EVP_MD_fetch(nullptr, "SHA256", nullptr));
  if (!algorithm) {
    throw std::runtime_error("OpenSSL has no SHA-256 implementation");
  }
  return algorithm.get();
}

} // namespace

std::array<std::uint8_t, 32> SHA256::digest(std::string_view bytes) {
  std::array<std::uint8_t, 32> result{};
  unsigned int length = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), result.data(), &length, sha256Algorithm(), nullptr) != 1 ||
      length != result.size()) {
    throw std::runtime_error("SHA-256 digest failed");
  }
  return result;
}

std::string SHA256::hexDigest(std::string_view bytes) {
  const auto raw = digest(bytes);
  return hexText(std::string_view(reinterpret_cast<const char*>(raw.data()), raw.size()));
}

} // namespace vantrel
