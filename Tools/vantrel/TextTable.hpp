#pragma once

#include "Tools/vantrel/TextTone.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::cli {

/// Rows of cells printed as aligned columns. Cells hold text as given (titles from people or the cloud);
/// it is made terminal-safe when the table is rendered, and widths count what a terminal shows: a CJK
/// character or an emoji takes two columns, a combining mark none.
class TextTable {
public:
  struct Cell {
    std::string text;
    TextTone tone = TextTone::plain;
  };
  using Painter = std::function<std::string(std::string_view, TextTone)>;

  /// Starts a row; the cells that follow fill it from the left.
  TextTable& row();
  TextTable& cell(std::string_view text, TextTone tone = TextTone::plain);

  bool empty() const { return rows_.empty(); }
  /// One line per row, columns two spaces apart, the last column not padded.
  std::string render(const Painter& paint) const;

private:
  std::vector<std::vector<Cell>> rows_;
};

/// The number of terminal columns the text takes.
std::size_t displayWidth(std::string_view text);

} // namespace vantrel::cli
