#include "VantrelCore/Bridge/YAMLNode.hpp"

#include "VantrelCore/Bridge/YAMLParseError.hpp"

#include <algorithm>
#include <charconv>

namespace vantrel {
namespace {

/// What a node is, as a refusal names what it found instead.
std::string described(const YAMLNode& node) {
  switch (node.kind()) {
  case YAMLNode::Kind::sequence:
    return "a list";
  case YAMLNode::Kind::mapping:
    return "a mapping";
  case YAMLNode::Kind::scalar:
    break;
  }
  if (node.isNull()) {
    return "nothing";
  }
  return (node.isPlain() ? "" : "the quoted text ") + YAMLParseError::quoted(node.text());
}

std::string keyText(std::string_view key) {
  return "'" + std::string(key) + "'";
}

bool equalIgnoringCase(std::string_view text, std::string_view lowerCase) {
  return std::ranges::equal(text, lowerCase, [](char character, char lower) {
    return (character >= 'A' && character <= 'Z' ? char(character - 'A' + 'a') : character) == lower;
  });
}

bool isDecimalInteger(std::string_view text) {
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    text.remove_prefix(1);
  }
  return !text.empty() &&
         std::ranges::all_of(text, [](char character) { return character >= '0' && character <= '9'; });
}

} // namespace

const YAMLNode* YAMLNode::find(std::string_view key) const {
  const auto member =
      std::ranges::find(members_, key, [](const auto& pair) -> std::string_view { return pair.first; });
  return member == members_.end() ? nullptr : &member->second;
}

void YAMLNode::expectMapping(std::string_view what) const {
  if (kind_ != Kind::mapping) {
    refuse(what, "a mapping");
  }
}

std::optional<std::string> YAMLNode::optionalText(std::string_view key) const {
  const auto* value = valueOf(key);
  if (value == nullptr) {
    return std::nullopt;
  }
  if (value->kind_ != Kind::scalar) {
    value->refuse(key, "a text");
  }
  return value->text_;
}

std::string YAMLNode::requiredText(std::string_view key) const {
  auto text = optionalText(key);
  if (!text) {
    const auto* present = find(key);
    throw YAMLParseError(*fileLabel_, present ? present->line_ : line_,
                         "missing required key " + keyText(key));
  }
  return std::move(*text);
}

std::optional<bool> YAMLNode::optionalBoolean(std::string_view key) const {
  const auto* value = valueOf(key);
  if (value == nullptr) {
    return std::nullopt;
  }
  if (value->kind_ == Kind::scalar && equalIgnoringCase(value->text_, "true")) {
    return true;
  }
  if (value->kind_ == Kind::scalar && equalIgnoringCase(value->text_, "false")) {
    return false;
  }
  value->refuse(key, "true or false");
}

std::optional<std::int64_t> YAMLNode::optionalInteger(std::string_view key) const {
  const auto* value = valueOf(key);
  if (value == nullptr) {
    return std::nullopt;
  }
  const std::string_view text = value->text_;
  if (value->kind_ != Kind::scalar || !isDecimalInteger(text)) {
    value->refuse(key, "a whole number");
  }
  if (!value->plain_) {
    value->refuse(key, "a whole number without quotes");
  }
  // from_chars takes a minus sign but not a plus sign.
  const auto digits = text.front() == '+' ? text.substr(1) : text;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    value->refuse(key, "a whole number that fits in 64 bits");
  }
  return number;
}

const std::vector<YAMLNode>& YAMLNode::listOf(std::string_view key) const {
  static const std::vector<YAMLNode> none;
  const auto* value = valueOf(key);
  if (value == nullptr) {
    return none;
  }
  if (value->kind_ != Kind::sequence) {
    value->refuse(key, "a list");
  }
  return value->items_;
}

const YAMLNode* YAMLNode::optionalMapping(std::string_view key) const {
  const auto* value = valueOf(key);
  if (value != nullptr && value->kind_ != Kind::mapping) {
    value->refuse(key, "a mapping");
  }
  return value;
}

const YAMLNode* YAMLNode::valueOf(std::string_view key) const {
  if (kind_ != Kind::mapping) {
    refuse(key, "in a mapping");
  }
  const auto* value = find(key);
  return value == nullptr || value->isNull() ? nullptr : value;
}

void YAMLNode::refuse(std::string_view key, std::string_view expected) const {
  throw YAMLParseError(*fileLabel_, line_,
                       keyText(key) + " must be " + std::string(expected) + ", not " + described(*this));
}

} // namespace vantrel
