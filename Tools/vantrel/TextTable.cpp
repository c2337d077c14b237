#include "Tools/vantrel/TextTable.hpp"

#include "Tools/vantrel/TerminalText.hpp"

#include <algorithm>
#include <memory>
#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace vantrel::cli {
namespace {

bool isWide(UChar32 character) {
  const auto width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ||
         u_hasBinaryProperty(character, UCHAR_EMOJI_PRESENTATION);
}

bool takesNoColumn(UChar32 character) {
  const auto category = u_charType(character);
  return category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR;
}

/// One user-perceived character: two columns when any of it is wide or asks for emoji presentation
/// (U+FE0F), none when all of it is marks and joiners, else one.
std::size_t clusterWidth(const icu::UnicodeString& text, int32_t start, int32_t end) {
  bool visible = false;
  for (int32_t index = start; index < end; index = text.moveIndex32(index, 1)) {
    const UChar32 character = text.char32At(index);
    if (isWide(character) || character == 0xFE0F) {
      return 2;
    }
    visible = visible || !takesNoColumn(character);
  }
  return visible ? 1 : 0;
}

} // namespace

TextTable& TextTable::row() {
  rows_.emplace_back();
  return *this;
}

TextTable& TextTable::cell(std::string_view text, TextTone tone) {
  if (rows_.empty()) {
    row();
  }
  rows_.back().push_back({std::string(text), tone});
  return *this;
}

std::string TextTable::render(const Painter& paint) const {
  std::vector<std::vector<std::string>> shown;
  std::vector<std::size_t> widths;
  for (const auto& row : rows_) {
    auto& line = shown.emplace_back();
    for (std::size_t column = 0; column < row.size(); ++column) {
      line.push_back(terminalText(row[column].text));
      widths.resize(std::max(widths.size(), column + 1));
      widths[column] = std::max(widths[column], displayWidth(line.back()));
    }
  }
  std::string text;
  for (std::size_t at = 0; at < rows_.size(); ++at) {
    const auto& row = rows_[at];
    std::size_t last = row.size();
    while (last > 0 && row[last - 1].text.empty()) {
      --last;
    }
    for (std::size_t column = 0; column < last; ++column) {
      text += paint(shown[at][column], row[column].tone);
      if (column + 1 < last) {
        text.append(widths[column] - displayWidth(shown[at][column]) + 2, ' ');
      }
    }
    text += '\n';
  }
  return text;
}

std::size_t displayWidth(std::string_view text) {
  const auto unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> clusters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_FAILURE(status)) {
    return std::size_t(unicode.countChar32());
  }
  clusters->setText(unicode);
  std::size_t width = 0;
  for (int32_t start = clusters->first(), end = clusters->next(); end != icu::BreakIterator::DONE;
       start = end, end = clusters->next()) {
    width += clusterWidth(unicode, start, end);
  }
  return width;
}

} // namespace vantrel::cli
