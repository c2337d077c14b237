#include "VantrelCore/Bridge/YAMLDocument.hpp"

#include "VantrelCore/Bridge/YAMLParseError.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <array>
#include <cstdio>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>
#include <yaml.h>

namespace vantrel {
namespace {

/// A mapping with more keys than this finds a repeated key through a hash table rather than a scan, so that
/// a hostile mapping of a million keys costs no more than its size.
constexpr std::size_t keysScannedForRepeats = 16;
/// A list or mapping with more children than this keeps the vector they were read into.
constexpr std::size_t childrenCopied = 64;

/// The 1-based line of the byte at `offset`, counting line breaks as libyaml does (CR LF, CR, LF, NEL, LS,
/// PS), so that lines found here agree with those libyaml reports.
std::size_t lineAt(std::string_view text, std::size_t offset) {
  std::size_t line = 1;
  for (std::size_t index = 0; index < offset && index < text.size(); ++index) {
    const auto rest = text.substr(index);
    if (rest[0] == '\n' || (rest[0] == '\r' && !rest.starts_with("\r\n")) || rest.starts_with("\xC2\x85") ||
        rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9")) {
      ++line;
    }
  }
  return line;
}

std::string hexadecimal(unsigned value, const char* format) {
  std::array<char, 16> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, value);
  return buffer.data();
}

/// The character at `index` of valid UTF-8 when YAML does not allow it in a file: a C0 control other than
/// tab and line breaks, DEL, a C1 control other than NEL, U+FFFE or U+FFFF. libyaml refuses these too, but
/// without a line.
std::optional<unsigned> disallowedCharacter(std::string_view text, std::size_t index) {
  const auto byte = static_cast<unsigned char>(text[index]);
  if (byte < 0x20) {
    return byte == '\t' || byte == '\n' || byte == '\r' ? std::nullopt : std::optional<unsigned>(byte);
  }
  if (byte == 0x7F) {
    return byte;
  }
  // In valid UTF-8 the bytes after a lead byte are there, and continuation bytes never look like leads.
  if (byte == 0xC2) {
    const auto next = static_cast<unsigned char>(text[index + 1]);
    return next <= 0x9F && next != 0x85 ? std::optional<unsigned>(next) : std::nullopt;
  }
  if (byte == 0xEF && static_cast<unsigned char>(text[index + 1]) == 0xBF) {
    const auto last = static_cast<unsigned char>(text[index + 2]);
    return last >= 0xBE ? std::optional<unsigned>(0xFFFE + (last - 0xBE)) : std::nullopt;
  }
  return std::nullopt;
}

void refuseUnreadableCharacters(std::string_view text, const std::string& fileLabel) {
  if (const auto invalid = firstInvalidUTF8Byte(text)) {
    throw YAMLParseError(fileLabel, lineAt(text, *invalid),
                         "byte " + std::to_string(*invalid) + " (" +
                             hexadecimal(static_cast<unsigned char>(text[*invalid]), "0x%02X") +
                             ") is not UTF-8");
  }
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (const auto character = disallowedCharacter(text, index)) {
      throw YAMLParseError(fileLabel, lineAt(text, index),
                           hexadecimal(*character, "U+%04X") + " at byte " + std::to_string(index) +
                               " is a character YAML does not allow");
    }
  }
}

/// Tags are shown as people write them: "!!binary" rather than libyaml's "tag:yaml.org,2002:binary".
std::string writtenTag(std::string_view tag) {
  constexpr std::string_view standardPrefix = "tag:yaml.org,2002:";
  return tag.starts_with(standardPrefix) ? "!!" + std::string(tag.substr(standardPrefix.size()))
                                         : std::string(tag);
}

const char* characters(const yaml_char_t* text) {
  return reinterpret_cast<const char*>(text);
}

/// One event from libyaml, released however the reading ends.
struct ParserEvent {
  ParserEvent() = default;
  ParserEvent(const ParserEvent&) = delete;
  ParserEvent& operator=(const ParserEvent&) = delete;
  ~ParserEvent() { yaml_event_delete(&event); }

  yaml_event_t event{};
};

} // namespace

/// Builds the tree from libyaml's events with an explicit stack of open lists and mappings, so that depth,
/// anchors, aliases, tags and repeated keys are refused when met, before they cost anything.
class YAMLDocument::TreeBuilder {
public:
  TreeBuilder(std::string_view text, std::shared_ptr<const std::string> fileLabel)
      : text_(text), fileLabel_(std::move(fileLabel)) {
    if (yaml_parser_initialize(&parser_) == 0) {
      throw std::bad_alloc();
    }
    // libyaml wants an address even for no bytes.
    const auto* bytes = text.empty() ? "" : text.data();
    yaml_parser_set_input_string(&parser_, reinterpret_cast<const unsigned char*>(bytes), text.size());
  }
  TreeBuilder(const TreeBuilder&) = delete;
  TreeBuilder& operator=(const TreeBuilder&) = delete;
  ~TreeBuilder() { yaml_parser_delete(&parser_); }

  YAMLNode build() {
    while (true) {
      ParserEvent next;
      if (yaml_parser_parse(&parser_, &next.event) == 0) {
        refuseParserError();
      }
      const auto& event = next.event;
      const auto line = event.start_mark.line + 1;
      switch (event.type) {
      case YAML_DOCUMENT_START_EVENT:
        if (++documents_ > 1) {
          refuse(line, "a second document starts here, but a bridge file holds one");
        }
        break;
      case YAML_ALIAS_EVENT:
        refuse(line, "alias " +
                         YAMLParseError::quoted("*" + std::string(characters(event.data.alias.anchor))) +
                         " is not allowed");
      case YAML_SCALAR_EVENT:
        refuseAnchorAndTag(event.data.scalar.anchor, event.data.scalar.tag, line);
        addScalar(std::string(characters(event.data.scalar.value), event.data.scalar.length),
                  event.data.scalar.style == YAML_PLAIN_SCALAR_STYLE, line);
        break;
      case YAML_SEQUENCE_START_EVENT:
        refuseAnchorAndTag(event.data.sequence_start.anchor, event.data.sequence_start.tag, line);
        open(YAMLNode::Kind::sequence, line);
        break;
      case YAML_MAPPING_START_EVENT:
        refuseAnchorAndTag(event.data.mapping_start.anchor, event.data.mapping_start.tag, line);
        open(YAMLNode::Kind::mapping, line);
        break;
      case YAML_SEQUENCE_END_EVENT:
      case YAML_MAPPING_END_EVENT:
        close();
        break;
      case YAML_STREAM_END_EVENT:
        return finished();
      case YAML_NO_EVENT:
      case YAML_STREAM_START_EVENT:
      case YAML_DOCUMENT_END_EVENT:
        break;
      }
    }
  }

private:
  /// An open list or mapping: its finished children so far.
  struct Frame {
    YAMLNode::Kind kind = YAMLNode::Kind::sequence;
    std::size_t line = 0;
    std::vector<YAMLNode> items{};
    std::vector<std::pair<std::string, YAMLNode>> members{};
    /// The line of each member's key.
    std::vector<std::size_t> keyLines{};
    /// Key to line, filled once the mapping has more keys than are scanned for repeats; it then holds the
    /// key being read too.
    std::unordered_map<std::string, std::size_t> keyIndex{};
    /// The key read last, whose value is being read.
    std::string key{};
    std::size_t keyLine = 0;
    bool hasKey = false;
  };

  [[noreturn]] void refuse(std::size_t line, std::string reason) const {
    throw YAMLParseError(*fileLabel_, line, std::move(reason));
  }

  [[noreturn]] void refuseParserError() const {
    if (parser_.error == YAML_MEMORY_ERROR) {
      throw std::bad_alloc();
    }
    std::string reason = parser_.problem != nullptr ? parser_.problem : "the file is not YAML";
    // A reader error has a byte offset and no mark.
    const auto line = parser_.error == YAML_READER_ERROR ? lineAt(text_, parser_.problem_offset)
                                                         : parser_.problem_mark.line + 1;
    if (parser_.context != nullptr) {
      reason += std::string(" (") + parser_.context;
      if (parser_.context_mark.line + 1 != line) {
        reason += " that started on line " + std::to_string(parser_.context_mark.line + 1);
      }
      reason += ")";
    }
    refuse(line, std::move(reason));
  }

  void refuseAnchorAndTag(const yaml_char_t* anchor, const yaml_char_t* tag, std::size_t line) const {
    if (anchor != nullptr) {
      refuse(line,
             "anchor " + YAMLParseError::quoted("&" + std::string(characters(anchor))) + " is not allowed");
    }
    if (tag != nullptr) {
      refuse(line, "tag " + YAMLParseError::quoted(writtenTag(characters(tag))) + " is not allowed");
    }
  }

  void countNode(std::size_t line) {
    if (++nodes_ > maxNodes) {
      refuse(line, "the file holds more than " + std::to_string(maxNodes) + " values, lists and mappings");
    }
  }

  bool expectsKey() const {
    return depth_ > 0 && frames_[depth_ - 1].kind == YAMLNode::Kind::mapping && !frames_[depth_ - 1].hasKey;
  }

  void addScalar(std::string text, bool plain, std::size_t line) {
    if (expectsKey()) {
      takeKey(frames_[depth_ - 1], std::move(text), line);
      return;
    }
    countNode(line);
    YAMLNode node(YAMLNode::Kind::scalar, line, fileLabel_);
    node.plain_ = plain;
    node.text_ = std::move(text);
    attach(std::move(node));
  }

  void takeKey(Frame& mapping, std::string key, std::size_t line) {
    std::optional<std::size_t> earlierLine;
    if (mapping.members.size() < keysScannedForRepeats) {
      for (std::size_t index = 0; index < mapping.members.size() && !earlierLine; ++index) {
        if (mapping.members[index].first == key) {
          earlierLine = mapping.keyLines[index];
        }
      }
    } else {
      if (mapping.keyIndex.empty()) {
        for (std::size_t index = 0; index < mapping.members.size(); ++index) {
          mapping.keyIndex.emplace(mapping.members[index].first, mapping.keyLines[index]);
        }
      }
      if (const auto [found, added] = mapping.keyIndex.try_emplace(key, line); !added) {
        earlierLine = found->second;
      }
    }
    if (earlierLine) {
      refuse(line, "key " + YAMLParseError::quoted(key) + " is repeated: it is on lines " +
                       std::to_string(*earlierLine) + " and " + std::to_string(line) + " of one mapping");
    }
    mapping.key = std::move(key);
    mapping.keyLine = line;
    mapping.hasKey = true;
  }

  void open(YAMLNode::Kind kind, std::size_t line) {
    if (depth_ == maxDepth) {
      refuse(line, "lists and mappings nest more than " + std::to_string(maxDepth) + " levels deep here");
    }
    countNode(line);
    if (expectsKey()) {
      refuse(line, kind == YAMLNode::Kind::sequence ? "a key must be a text, not a list"
                                                    : "a key must be a text, not a mapping");
    }
    if (depth_ == frames_.size()) {
      frames_.emplace_back();
    }
    auto& frame = frames_[depth_++];
    frame.kind = kind;
    frame.line = line;
    frame.hasKey = false;
  }

  void close() {
    auto& frame = frames_[--depth_];
    YAMLNode node(frame.kind, frame.line, fileLabel_);
    // Children move into a vector of exactly their size, and the frame keeps its capacity for the next
    // sibling; a big list or mapping hands its vector over instead, never held twice.
    if (frame.items.size() + frame.members.size() > childrenCopied) {
      node.items_ = std::move(frame.items);
      node.members_ = std::move(frame.members);
    } else {
      node.items_.assign(std::make_move_iterator(frame.items.begin()),
                         std::make_move_iterator(frame.items.end()));
      node.members_.assign(std::make_move_iterator(frame.members.begin()),
                           std::make_move_iterator(frame.members.end()));
    }
    frame.items.clear();
    frame.members.clear();
    frame.keyLines.clear();
    frame.keyIndex.clear();
    attach(std::move(node));
  }

  void attach(YAMLNode node) {
    if (depth_ == 0) {
      root_.emplace(std::move(node));
      return;
    }
    auto& parent = frames_[depth_ - 1];
    if (parent.kind == YAMLNode::Kind::sequence) {
      parent.items.push_back(std::move(node));
      return;
    }
    parent.keyLines.push_back(parent.keyLine);
    parent.members.emplace_back(std::move(parent.key), std::move(node));
    parent.hasKey = false;
  }

  YAMLNode finished() {
    if (!root_ || root_->isNull()) {
      return YAMLNode(YAMLNode::Kind::mapping, root_ ? root_->line() : 1, fileLabel_);
    }
    return std::move(*root_);
  }

  yaml_parser_t parser_{};
  std::string_view text_;
  std::shared_ptr<const std::string> fileLabel_;
  /// Frames outlive the containers they read, so that a sibling reuses their vectors' capacity.
  std::vector<Frame> frames_{};
  std::size_t depth_ = 0;
  std::size_t documents_ = 0;
  std::size_t nodes_ = 0;
  std::optional<YAMLNode> root_{};
};

YAMLNode YAMLDocument::parse(std::string_view text, std::string fileLabel) {
  auto label = std::make_shared<const std::string>(std::move(fileLabel));
  if (text.size() > maxBytes) {
    throw YAMLParseError(*label, std::nullopt,
                         "the file has " + std::to_string(text.size()) + " bytes, more than the " +
                             std::to_string(maxBytes) + " a bridge file may have");
  }
  refuseUnreadableCharacters(text, *label);
  return TreeBuilder(text, std::move(label)).build();
}

} // namespace vantrel
