#include "Tools/vantrel/TerminalText.hpp"

#include <gtest/gtest.h>
#include <string>

namespace vantrel::cli {
namespace {

TEST(TerminalText, KeepsOrdinaryTextAndEscapesWhatWouldTakeOverTheTerminal) {
  const struct {
    std::string text;
    std::string shown;
  } cases[] = {
      {"Water the plants", "Water the plants"},
      {"Café · 日本語 😀 عربي C:\\temp", "Café · 日本語 😀 عربي C:\\temp"},
      {"", ""},
      {"\x1b[2J\x1b]0;owned\x07", "\\x1b[2J\\x1b]0;owned\\x07"},
      {"one\ntwo\rthree\tfour", "one\\ntwo\\rthree\\tfour"},
      {std::string("nul\0!", 5), "nul\\x00!"},
      {"del\x7f", "del\\x7f"},
      {"\u0080c1\u009b", "\\u0080c1\\u009b"},
      {"\u00a0keeps a no-break space", "\u00a0keeps a no-break space"},
      {"abc\u202edcba", "abc\\u202edcba"},
      {"\u202a\u202b\u202c\u202d \u2066\u2067\u2068\u2069 \u200e\u200f\u061c",
       "\\u202a\\u202b\\u202c\\u202d \\u2066\\u2067\\u2068\\u2069 \\u200e\\u200f\\u061c"},
      {"line\u2028para\u2029", "line\\u2028para\\u2029"},
      {"Caf\xe9", "Caf\\xe9"},
      {"\xe2\x80 cut", "\\xe2\\x80 cut"},
      {"\xc0\xaf overlong \xed\xa0\x80 surrogate", "\\xc0\\xaf overlong \\xed\\xa0\\x80 surrogate"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(terminalText(c.text), c.shown) << c.shown;
  }
}

} // namespace
} // namespace vantrel::cli
