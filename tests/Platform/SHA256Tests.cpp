#include "VantrelCore/Platform/SHA256.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

TEST(SHA256, MatchesTheStandardVectors) {
  const std::pair<std::string, const char*> vectors[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      // An embedded NUL is data, not the end of the text.
      {std::string("a\0b", 3), "59b271ae1bbcb1d31d41929817f4b16fb439eb4f31520b5ad1d5ce98920a7138"},
  };
  for (const auto& [input, hex] : vectors) {
    EXPECT_EQ(SHA256::hexDigest(input), hex) << input;
  }
}

} // namespace
} // namespace vantrel
