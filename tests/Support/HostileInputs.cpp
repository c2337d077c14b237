#include "tests/Support/HostileInputs.hpp"

#include <random>

namespace vantrel::testing {

std::vector<std::string> hostileVariants(std::string_view valid, std::uint32_t seed, std::size_t count) {
  std::vector<std::string> variants;
  const std::string text(valid);
  for (int tenth = 0; tenth < 10; ++tenth) {
    variants.push_back(text.substr(0, text.size() * std::size_t(tenth) / 10));
  }
  if (!text.empty()) {
    variants.push_back(text.substr(0, text.size() - 1));
  }
  variants.push_back(text + text);
  variants.push_back(text + "\xE9");
  variants.push_back(std::string("\xEF\xBB\xBF") + text);
  std::mt19937 random(seed);
  const auto position = [&] {
    return text.empty() ? std::size_t(0)
                        : std::uniform_int_distribution<std::size_t>(0, text.size() - 1)(random);
  };
  static constexpr std::string_view insertions[] = {
      "\xE9", std::string_view("\0", 1), "\x80", "\"",   "{", "]",
      "\\",   "99999999999999999999999", "-",    "1e999"};
  while (variants.size() < count && !text.empty()) {
    std::string variant = text;
    switch (random() % 5) {
    case 0: // a flipped byte
      variant[position()] ^= char(1u << (random() % 8));
      break;
    case 1: { // a dropped span
      const auto at = position();
      variant.erase(at, 1 + random() % 16);
      break;
    }
    case 2: { // a doubled span
      const auto at = position();
      variant.insert(at, variant.substr(at, 1 + random() % 32));
      break;
    }
    case 3: // something put in
      variant.insert(position(), insertions[random() % std::size(insertions)]);
      break;
    default: { // a digit made huge
      const auto at = variant.find_first_of("0123456789", position());
      if (at != std::string::npos) {
        variant.insert(at, "9999999999999999999");
      }
      break;
    }
    }
    variants.push_back(std::move(variant));
  }
  return variants;
}

std::string deeplyNestedJSON(std::size_t depth, bool objects) {
  std::string text;
  text.reserve(depth * (objects ? 6 : 2) + 2);
  for (std::size_t level = 0; level < depth; ++level) {
    text += objects ? "{\"a\":" : "[";
  }
  text += "1";
  text.append(depth, objects ? '}' : ']');
  return text;
}

} // namespace vantrel::testing
