#pragma once

#include <string>
#include <string_view>

namespace vantrel::cli {

/// Text from people or the cloud (names, titles, labels, paths, error texts) made safe to print on a
/// terminal: control characters (C0, DEL, C1), the bidirectional marks, embeddings, overrides and isolates,
/// and the line and paragraph separators are shown as escapes ("\n", "\x1b", "\u202e"), and a byte that is
/// not UTF-8 as "\xNN". Everything else, including backslashes, is kept, so ordinary text reads as typed.
/// For display only: JSON output has its own escaping.
std::string terminalText(std::string_view text);

} // namespace vantrel::cli
