#include "VantrelCore/JSON/JSONScanner.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/UTF8.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel {
namespace {

bool isWhiteSpace(char character) {
  return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isASCII(char character) {
  return static_cast<unsigned char>(character) < 0x80;
}

/// A byte a string simply goes on with: no quote or backslash, no control character, and ASCII (the rest
/// is checked a whole run at a time).
bool isPlainStringByte(char character) {
  return character != '"' && character != '\\' && static_cast<unsigned char>(character) >= 0x20 &&
         isASCII(character);
}

bool isHighSurrogate(unsigned unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(unsigned unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// Whether the full parser takes a number's text: it refuses one too big for a double, by rules of its own
/// (an integer part of about 309 digits or more, a positive exponent past 308 and the fraction's digits).
bool fullParserTakes(std::string_view number) {
  rapidjson::Reader reader;
  rapidjson::MemoryStream stream(number.data(), number.size());
  rapidjson::BaseReaderHandler<> ignored;
  return !reader.Parse<jsonParseFlags>(stream, ignored).IsError();
}

} // namespace

JSONScanner::JSONScanner(std::string_view text) : text_(text) {
  // As parseJSON does: a byte order mark before the document is skipped.
  if (text_.starts_with(byteOrderMark)) {
    position_ = byteOrderMark.size();
  }
}

void JSONScanner::fail(std::string_view what) const {
  throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                      "The given data was not valid JSON: " + std::string(what) + " at byte " +
                          std::to_string(position_));
}

void JSONScanner::skipWhiteSpace() {
  while (position_ < text_.size() && isWhiteSpace(text_[position_])) {
    ++position_;
  }
}

char JSONScanner::peek() {
  // Compact text, the common case, has no white space to skip.
  if (position_ < text_.size() && !isWhiteSpace(text_[position_])) [[likely]] {
    return text_[position_];
  }
  skipWhiteSpace();
  if (position_ == text_.size()) {
    fail("unexpected end");
  }
  return text_[position_];
}

void JSONScanner::expect(char character) {
  // Compact text has the character right here; the rest, and the failure, are kept out of line.
  if (position_ < text_.size() && text_[position_] == character) [[likely]] {
    ++position_;
    return;
  }
  expectAfterWhiteSpace(character);
}

void JSONScanner::expectAfterWhiteSpace(char character) {
  if (peek() != character) {
    fail(std::string("expected '") + character + "'");
  }
  ++position_;
}

void JSONScanner::enterObject() {
  expect('{');
  if (entered_.size() == maximumJSONDepth) {
    fail("nesting too deep");
  }
  entered_.push_back(false);
}

bool JSONScanner::nextMember(std::string_view& rawKey) {
  if (entered_.empty()) {
    fail("no object entered");
  }
  if (peek() == '}') {
    ++position_;
    entered_.pop_back();
    return false;
  }
  if (entered_.back()) {
    expect(',');
  }
  entered_.back() = true;
  rawKey = readString();
  expect(':');
  return true;
}

// The first byte at or after `at` that is not a plain string byte, or `size`. Strings in a snapshot are
// short, where a library search costs more to call than to run; on x86-64 sixteen bytes are looked at in
// one step.
std::size_t JSONScanner::stringStop(const char* data, std::size_t at, std::size_t size) {
#if defined(__SSE2__)
  const __m128i quote = _mm_set1_epi8('"');
  const __m128i backslash = _mm_set1_epi8('\\');
  // Compared as signed bytes, exactly the control characters and the non-ASCII bytes are below a space.
  const __m128i space = _mm_set1_epi8(' ');
  for (; at + 16 <= size; at += 16) {
    const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + at));
    const __m128i quoteOrBackslash =
        _mm_or_si128(_mm_cmpeq_epi8(chunk, quote), _mm_cmpeq_epi8(chunk, backslash));
    const int hits = _mm_movemask_epi8(_mm_or_si128(quoteOrBackslash, _mm_cmplt_epi8(chunk, space)));
    if (hits != 0) {
      return at + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(hits)));
    }
  }
#endif
  while (at < size && isPlainStringByte(data[at])) {
    ++at;
  }
  return at;
}

std::size_t JSONScanner::checkedStringBytes(std::size_t at) {
  if (isASCII(text_[at])) {
    position_ = at;
    fail("control character in string");
  }
  // ASCII never stands inside a multi-byte sequence, so a run of non-ASCII bytes holds whole sequences.
  std::size_t end = at;
  while (end < text_.size() && !isASCII(text_[end])) {
    ++end;
  }
  if (const auto invalid = firstInvalidUTF8Byte(text_.substr(at, end - at))) {
    position_ = at + *invalid;
    fail("text that is not UTF-8");
  }
  return end;
}

unsigned JSONScanner::escapedUnit(std::size_t at) {
  unsigned unit = 0;
  for (std::size_t digit = 0; digit < 4; ++digit) {
    const char character = at + digit < text_.size() ? text_[at + digit] : '\0';
    if (!std::isxdigit(static_cast<unsigned char>(character))) {
      position_ = at;
      fail("bad \\u escape");
    }
    unit = unit * 16 +
           static_cast<unsigned>(isDigit(character) ? character - '0' : (character | 0x20) - 'a' + 10);
  }
  return unit;
}

std::string_view JSONScanner::readString() {
  expect('"');
  const std::size_t start = position_;
  const char* const data = text_.data();
  const std::size_t size = text_.size();
  // A local index, not the member: a member would be reloaded after every byte read through `data`.
  std::size_t at = position_;
  for (;;) {
    at = stringStop(data, at, size);
    if (at == size) {
      position_ = at;
      fail("unterminated string");
    }
    if (data[at] == '"') {
      position_ = at + 1;
      return text_.substr(start, at - start);
    }
    if (data[at] != '\\') {
      at = checkedStringBytes(at);
      continue;
    }
    const std::size_t escape = at;
    const char escaped = at + 1 < size ? data[at + 1] : '\0';
    if (escaped == 'u') {
      const unsigned unit = escapedUnit(escape + 2);
      at = escape + 6;
      // As in UTF-16, a high surrogate must be followed by a low one, and a low one cannot stand alone.
      if (isHighSurrogate(unit) && text_.substr(at, 2) == "\\u" && isLowSurrogate(escapedUnit(at + 2))) {
        at += 6;
      } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
        position_ = escape;
        fail("lone surrogate escape");
      }
    } else if (escaped != '\0' && std::strchr("\"\\/bfnrt", escaped) != nullptr) {
      at = escape + 2;
    } else {
      position_ = escape + 1;
      fail("bad escape");
    }
  }
}

void JSONScanner::skipLiteral(std::string_view literal) {
  if (text_.substr(position_, literal.size()) != literal) {
    fail("unexpected character");
  }
  position_ += literal.size();
}

// The grammar of a number: -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
void JSONScanner::skipNumber() {
  const std::size_t numberStart = position_;
  const auto digits = [&] {
    const std::size_t start = position_;
    while (position_ < text_.size() && isDigit(text_[position_])) {
      ++position_;
    }
    if (position_ == start) {
      fail("bad number");
    }
    return position_ - start;
  };
  const auto next = [&](char character) {
    if (position_ < text_.size() && text_[position_] == character) {
      ++position_;
      return true;
    }
    return false;
  };
  next('-');
  const bool leadingZero = position_ < text_.size() && text_[position_] == '0';
  const std::size_t integerDigits = digits();
  if (integerDigits > 1 && leadingZero) {
    fail("bad number");
  }
  if (next('.')) {
    digits();
  }
  std::size_t positiveExponentDigits = 0;
  if (next('e') || next('E')) {
    const bool negative = !next('+') && next('-');
    const std::size_t exponentDigits = digits();
    positiveExponentDigits = negative ? 0 : exponentDigits;
  }
  // Far below the sizes the full parser refuses, every number is taken; near them, it decides.
  if ((integerDigits >= 300 || positiveExponentDigits >= 3) &&
      !fullParserTakes(text_.substr(numberStart, position_ - numberStart))) {
    position_ = numberStart;
    fail("number too big");
  }
}

// Arrays and objects are walked with an explicit stack rather than by recursion, so deep input cannot
// exhaust the call stack; the stack is kept between calls, which spares an allocation per record.
void JSONScanner::skipContainer() {
  // Per open level, its closing character; upper case once it holds an item, so the next needs a comma.
  auto& levels = skipLevels_;
  levels.clear();
  const auto open = [&](char closer) {
    if (levels.size() + entered_.size() >= maximumJSONDepth) {
      fail("nesting too deep");
    }
    ++position_;
    levels.push_back(closer);
    lastSkipDepth_ = std::max(lastSkipDepth_, levels.size());
  };
  open(peek() == '{' ? '}' : ']');
  while (!levels.empty()) {
    const char closer = levels.back() == '}' || levels.back() == 'O' ? '}' : ']';
    if (peek() == closer) {
      ++position_;
      levels.pop_back();
      continue;
    }
    if (levels.back() == 'O' || levels.back() == 'A') {
      expect(',');
    }
    levels.back() = closer == '}' ? 'O' : 'A';
    if (closer == '}') {
      readString();
      expect(':');
    }
    const char first = peek();
    if (first == '{' || first == '[') {
      open(first == '{' ? '}' : ']');
    } else if (first == '"') {
      readString();
    } else if (first == 't') {
      skipLiteral("true");
    } else if (first == 'f') {
      skipLiteral("false");
    } else if (first == 'n') {
      skipLiteral("null");
    } else {
      skipNumber();
    }
  }
}

std::string_view JSONScanner::skipValue() {
  lastSkipDepth_ = 0;
  const char first = peek();
  const std::size_t start = position_;
  switch (first) {
  case '{':
  case '[':
    skipContainer();
    break;
  case '"':
    readString();
    break;
  case 't':
    skipLiteral("true");
    break;
  case 'f':
    skipLiteral("false");
    break;
  case 'n':
    skipLiteral("null");
    break;
  default:
    skipNumber();
  }
  return text_.substr(start, position_ - start);
}

std::string_view JSONScanner::skipBalanced() {
  const char first = peek();
  if (first != '{' && first != '[') {
    return skipValue();
  }
  const std::size_t start = position_;
  const char* const data = text_.data();
  const std::size_t size = text_.size();
  auto& levels = skipLevels_;
  levels.clear();
  lastSkipDepth_ = 0;
  std::size_t at = position_;
  for (;;) {
    if (at >= size) {
      position_ = size;
      fail("unexpected end");
    }
    const char character = data[at++];
    if (character == '"') {
      for (;;) {
        at = stringStop(data, at, size);
        if (at >= size) {
          position_ = size;
          fail("unterminated string");
        }
        if (data[at] == '"') {
          ++at;
          break;
        }
        if (data[at] == '\\') {
          at += 2; // a backslash and the character it escapes
          continue;
        }
        at = checkedStringBytes(at);
      }
    } else if (character == '{' || character == '[') {
      if (levels.size() + entered_.size() >= maximumJSONDepth) {
        position_ = at;
        fail("nesting too deep");
      }
      levels.push_back(character == '{' ? '}' : ']');
      lastSkipDepth_ = std::max(lastSkipDepth_, levels.size());
    } else if (character == '}' || character == ']') {
      if (levels.back() != character) {
        position_ = at - 1;
        fail("mismatched bracket");
      }
      levels.pop_back();
      if (levels.empty()) {
        position_ = at;
        return text_.substr(start, at - start);
      }
    } else if (static_cast<signed char>(character) < ' ' && !isWhiteSpace(character)) {
      // A control character or a non-ASCII byte is never JSON outside a string; refused here so that no
      // text that is not UTF-8 gets past. As signed bytes, both are below a space.
      position_ = at - 1;
      fail("unexpected character");
    }
  }
}

std::size_t JSONScanner::valueStart() {
  peek();
  return position_;
}

void JSONScanner::finish() {
  skipWhiteSpace();
  if (position_ != text_.size() || !entered_.empty()) {
    fail("unexpected content after the document");
  }
}

char JSONScanner::peekValue() {
  return peek();
}

std::string_view JSONScanner::kindName(std::string_view valueText) {
  switch (valueText.front()) {
  case '"':
    return "string";
  case '{':
    return "object";
  case '[':
    return "array";
  case 't':
  case 'f':
    return "bool";
  case 'n':
    return "null";
  default:
    return isInt64(valueText) ? "integer" : "number";
  }
}

bool JSONScanner::isInt64(std::string_view numberText) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(numberText.data(), numberText.data() + numberText.size(), value);
  return !numberText.empty() && error == std::errc() && end == numberText.data() + numberText.size();
}

std::optional<std::string> JSONScanner::stringValue(std::string_view valueText) {
  if (valueText == "null") {
    return std::nullopt;
  }
  if (valueText.size() < 2 || valueText.front() != '"') {
    throw DecodingError(DecodingError::Kind::typeMismatch, "",
                        "expected string, got " + std::string(valueText));
  }
  return unescaped(valueText.substr(1, valueText.size() - 2));
}

std::string JSONScanner::unescaped(std::string_view rawString) {
  if (rawString.find('\\') == std::string_view::npos) {
    return std::string(rawString);
  }
  // Rare (record names and day texts never need escapes): the full parser resolves them exactly.
  std::string quoted;
  quoted.reserve(rawString.size() + 2);
  quoted.append(1, '"').append(rawString).append(1, '"');
  return std::string(readJSONString(parseJSON(quoted)));
}

} // namespace vantrel
