#include "VantrelCore/JSON/JSONScanner.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/Model/DecodingError.hpp"

#include <algorithm>
#include <cctype>
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

} // namespace

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
  if (peek() != character) {
    fail(std::string("expected '") + character + "'");
  }
  ++position_;
}

void JSONScanner::enterObject() {
  expect('{');
  if (entered_.size() == maximumDepth) {
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

// The first quote or backslash at or after `at`, or `size`. Strings in a snapshot are short, where a
// library search costs more to call than to run; on x86-64 sixteen bytes are looked at in one step.
std::size_t JSONScanner::stringStop(const char* data, std::size_t at, std::size_t size) {
#if defined(__SSE2__)
  const __m128i quote = _mm_set1_epi8('"');
  const __m128i backslash = _mm_set1_epi8('\\');
  for (; at + 16 <= size; at += 16) {
    const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + at));
    const int hits =
        _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(chunk, quote), _mm_cmpeq_epi8(chunk, backslash)));
    if (hits != 0) {
      return at + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(hits)));
    }
  }
#endif
  while (at < size && data[at] != '"' && data[at] != '\\') {
    ++at;
  }
  return at;
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
    ++at;
    const char escaped = at < size ? data[at] : '\0';
    if (escaped == 'u') {
      for (std::size_t digit = 1; digit <= 4; ++digit) {
        if (at + digit >= size || !std::isxdigit(static_cast<unsigned char>(data[at + digit]))) {
          position_ = at;
          fail("bad \\u escape");
        }
      }
      at += 5;
    } else if (escaped != '\0' && std::strchr("\"\\/bfnrt", escaped) != nullptr) {
      ++at;
    } else {
      position_ = at;
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
  if (digits() > 1 && leadingZero) {
    fail("bad number");
  }
  if (next('.')) {
    digits();
  }
  if (next('e') || next('E')) {
    next('+') || next('-');
    digits();
  }
}

// Arrays and objects are walked with an explicit stack rather than by recursion, so deep input cannot
// exhaust the call stack; the stack is kept between calls, which spares an allocation per record.
void JSONScanner::skipContainer() {
  // Per open level, its closing character; upper case once it holds an item, so the next needs a comma.
  auto& levels = skipLevels_;
  levels.clear();
  const auto open = [&](char closer) {
    if (levels.size() + entered_.size() >= maximumDepth) {
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
        at += 2; // a backslash and the character it escapes
      }
    } else if (character == '{' || character == '[') {
      if (levels.size() + entered_.size() >= maximumDepth) {
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
