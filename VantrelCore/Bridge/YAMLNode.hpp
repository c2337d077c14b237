#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

/// One node of a parsed bridge file: a scalar, a sequence or a mapping, with the line it starts on.
/// YAMLDocument::parse makes them; a node is a plain value, and copies stay valid after the tree is gone.
class YAMLNode {
public:
  enum class Kind { scalar, sequence, mapping };

  Kind kind() const { return kind_; }
  /// 1-based.
  std::size_t line() const { return line_; }
  /// Shared by all nodes of a document.
  const std::string& fileLabel() const { return *fileLabel_; }

  /// The scalar's value; "" for other kinds.
  const std::string& text() const { return text_; }
  /// Written in the plain style: without quotes, and not as a "|" or ">" block.
  bool isPlain() const { return plain_; }
  /// A plain "~" or a plain empty value (`key:` with nothing after it). A plain "null" is not null: the
  /// writer writes the text "null" plain, and it must read back as that text.
  bool isNull() const { return kind_ == Kind::scalar && plain_ && (text_.empty() || text_ == "~"); }

  /// A sequence's items; empty for other kinds.
  const std::vector<YAMLNode>& items() const { return items_; }
  /// A mapping's members in file order, no key twice; empty for other kinds.
  const std::vector<std::pair<std::string, YAMLNode>>& members() const { return members_; }
  /// The value of `key` in a mapping; null when absent or when this is no mapping.
  const YAMLNode* find(std::string_view key) const;

  // Typed access for the decoders. Every refusal throws YAMLParseError naming the file, the line of the
  // offending node (of the mapping for a missing key) and the key. Reading a key from a node that is not a
  // mapping is refused too ("'title' must be in a mapping, not a list").

  /// Throws unless a mapping: "'<what>' must be a mapping, not a list".
  void expectMapping(std::string_view what) const;
  /// Any scalar's text, plain or quoted; absent or null -> none; a list or a mapping is refused.
  std::optional<std::string> optionalText(std::string_view key) const;
  /// As optionalText, but absent or null is refused: "missing required key 'title'".
  std::string requiredText(std::string_view key) const;
  /// true or false in any letter case, plain or quoted; absent or null -> none; anything else is refused.
  std::optional<bool> optionalBoolean(std::string_view key) const;
  /// A plain decimal 64-bit integer with an optional sign; absent or null -> none; anything else, a quoted
  /// number or one out of range, is refused.
  std::optional<std::int64_t> optionalInteger(std::string_view key) const;
  /// The items of the list under `key`; absent or null -> empty; anything but a list is refused.
  const std::vector<YAMLNode>& listOf(std::string_view key) const;
  /// The mapping under `key`; absent or null -> nullptr; anything but a mapping is refused.
  const YAMLNode* optionalMapping(std::string_view key) const;

private:
  friend class YAMLDocument;

  YAMLNode(Kind kind, std::size_t line, std::shared_ptr<const std::string> fileLabel)
      : kind_(kind), line_(line), fileLabel_(std::move(fileLabel)) {}

  /// The value of `key`, none when absent or null; refused when this is no mapping.
  const YAMLNode* valueOf(std::string_view key) const;
  /// "'<key>' must be <expected>, not <what this node is>", at this node's line.
  [[noreturn]] void refuse(std::string_view key, std::string_view expected) const;

  Kind kind_;
  bool plain_ = false;
  std::size_t line_;
  std::shared_ptr<const std::string> fileLabel_;
  std::string text_{};
  std::vector<YAMLNode> items_{};
  std::vector<std::pair<std::string, YAMLNode>> members_{};
};

} // namespace vantrel
