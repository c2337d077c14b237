#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// Walks JSON text front to back without building it: it checks the grammar as it goes, hands out values
/// as views of the text and skips what the caller does not ask for. Made for readers that need a small
/// part of a large document, where a full parse would cost a widget host's time and memory budget.
///
/// Strings are checked as the full parser checks them: UTF-8, no raw control characters, well-formed
/// escapes, surrogates only in pairs. Names and keys are handed out raw (escapes as written); unescaped()
/// resolves them. Nesting deeper than maximumJSONDepth is refused, and a leading byte order mark skipped,
/// as parseJSON does; so is a number too big for a double, as the full parser refuses it. Every fault throws
/// DecodingError (dataCorrupted) naming the byte offset.
class JSONScanner {
public:
  explicit JSONScanner(std::string_view text);

  /// The first character of the next value, where the scanner stands; the scanner does not move.
  char peekValue();
  /// Reads the '{' of an object; members follow through nextMember().
  void enterObject();
  /// Moves to the next member of the innermost entered object: true with its key, the scanner standing
  /// before the member's value; false after the object's '}'.
  bool nextMember(std::string_view& rawKey);
  /// Reads a string and answers its raw text between the quotes, escapes as written.
  std::string_view readString();
  /// Skips one value of any kind and answers its text.
  std::string_view skipValue();
  /// Skips one value checking only its brackets' pairing and its characters (UTF-8, none raw in a string
  /// that JSON wants escaped), not its grammar nor its escapes: finding its end needs no more, and this is
  /// about twice as fast. For values the caller then decodes with a full parser, or does not use; a scalar
  /// is checked as skipValue() checks it.
  std::string_view skipBalanced();
  /// How deep the value skipped last nests: 0 for a scalar, 1 for a flat object or array.
  std::size_t lastSkipDepth() const { return lastSkipDepth_; }
  /// Only white space may follow the document.
  void finish();

  /// Where the next value starts; with textFrom(), the text of a value walked member by member.
  std::size_t valueStart();
  std::string_view textFrom(std::size_t start) const { return text_.substr(start, position_ - start); }

  /// The kind of a value as skipValue() answered it, named as jsonKindName() names a parsed value's.
  static std::string_view kindName(std::string_view valueText);
  /// Whether a number as skipValue() answered it is one the full parser reads as a 64-bit integer: no
  /// fraction and no exponent, and within the range.
  static bool isInt64(std::string_view numberText);
  /// The text of a string value as skipValue() answered it, escapes resolved; none for null. Throws
  /// DecodingError (typeMismatch) for other kinds.
  static std::optional<std::string> stringValue(std::string_view valueText);
  /// A raw string with its escapes resolved.
  static std::string unescaped(std::string_view rawString);

private:
  static std::size_t stringStop(const char* data, std::size_t at, std::size_t size);
  [[noreturn]] void fail(std::string_view what) const;
  /// Checks the byte at `at` inside a string, which stringStop() stopped at but is no quote or backslash:
  /// a raw control character fails, non-ASCII text must be UTF-8. Answers where the string goes on.
  std::size_t checkedStringBytes(std::size_t at);
  /// The four hex digits of a \u escape at `at`; fails when they are not.
  unsigned escapedUnit(std::size_t at);
  void skipWhiteSpace();
  char peek();
  void expect(char character);
  [[gnu::noinline]] void expectAfterWhiteSpace(char character);
  void skipLiteral(std::string_view literal);
  void skipNumber();
  void skipContainer();

  std::string_view text_;
  std::size_t position_ = 0;
  /// Per entered object, whether a member was read (so the next one needs a comma).
  std::vector<bool> entered_{};
  std::string skipLevels_{};
  std::size_t lastSkipDepth_ = 0;
};

} // namespace vantrel
