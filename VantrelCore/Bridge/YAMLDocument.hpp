#pragma once

#include "VantrelCore/Bridge/YAMLNode.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace vantrel {

/// Reads one bridge file, which people and assistants edit, strictly: plain data without anchors, aliases,
/// tags or repeated keys, and nothing whose reading costs much more than its size.
class YAMLDocument {
public:
  static constexpr std::size_t maxBytes = 16 * 1024 * 1024;
  static constexpr std::size_t maxDepth = 64;
  /// Values, lists and mappings in one file. Files of tasks spend about 16 bytes on a node, so this is
  /// about what maxBytes of them hold; but a flow list spends two ("[a,a,a"), and at about a hundred bytes
  /// a node in memory, a file of maxBytes could otherwise take gigabytes.
  static constexpr std::size_t maxNodes = 1'000'000;

  YAMLDocument() = delete;

  /// The file's root node. `fileLabel` names the file in refusals, each a YAMLParseError with the line
  /// where there is one:
  /// - more than maxBytes, refused before parsing;
  /// - bytes that are not UTF-8 (naming the byte offset), a NUL or another character YAML does not allow;
  /// - anything libyaml refuses (tabs as indentation, bad syntax), with its problem and context;
  /// - an anchor or an alias, at the first one met;
  /// - lists and mappings nested deeper than maxDepth, when met; more than maxNodes nodes, when met;
  /// - a key twice in one mapping (naming both lines), a key that is a list or a mapping;
  /// - more than one document; any tag (`!!str`, `!!binary`, `!custom`).
  /// An empty file, a file of only comments and a document with nothing in it read as an empty mapping:
  /// that is what a file an editor emptied means.
  static YAMLNode parse(std::string_view text, std::string fileLabel);

private:
  class TreeBuilder;
};

} // namespace vantrel
