#pragma once

#include <string>
#include <string_view>

namespace vantrel {

/// How the bridge files write free text (names, titles, labels, notes, headers), without a YAML emitter.
class YAMLScalar {
public:
  YAMLScalar() = delete;

  /// The text as it is when every character is a letter, a mark or a digit of any script, or one of
  /// " _-/.@", and it neither begins nor ends with a blank; `""` when empty; else in double quotes with
  /// backslashes doubled and double quotes escaped. Nothing else is escaped: a line break stays raw inside
  /// the quotes, and a YAML reader folds it to a blank. Words such as true, yes, null or 123 stay plain.
  static std::string quoted(std::string_view text);
  /// Always in double quotes, escaped as quoted() escapes: for values a reader must never take for
  /// another type, such as a gap's time.
  static std::string doubleQuoted(std::string_view text);
  /// In double quotes with every character a reader would change escaped, line breaks included, so that
  /// it reads back exactly: for text a literal block cannot carry.
  static std::string exactlyQuoted(std::string_view text);
  /// Whether a literal block ("|-") carries the text exactly: no character YAML takes for a line break
  /// other than the line feed, none it does not allow, and no line break at the end.
  static bool fitsLiteralBlock(std::string_view text);
};

} // namespace vantrel
