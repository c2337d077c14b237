#include "VantrelCore/Platform/SHA256.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

TEST(SHA256, MatchesTheStandardVectors) {
  struct Vector {
    std::string input;
    std::string hex;
  };
  const Vector vectors[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      // 56 bytes: the padding needs a second block.
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
      // An embedded NUL is data, not the end of the text.
      {std::string("a\0b", 3), "59b271ae1bbcb1d31d41929817f4b16fb439eb4f31520b5ad1d5ce98920a7138"},
  };
  for (const auto& vector : vectors) {
    SCOPED_TRACE(vector.input.substr(0, 20));
    EXPECT_EQ(SHA256::hexDigest(vector.input), vector.hex);
  }
}

TEST(SHA256, DigestBytesAreTheHexDigits) {
  const auto digest = SHA256::digest("abc");
  EXPECT_EQ(digest.front(), 0xba);
  EXPECT_EQ(digest[1], 0x78);
  EXPECT_EQ(digest.back(), 0xad);
}

} // namespace
} // namespace vantrel
