#pragma once

namespace vantrel::cli {

/// What a piece of text is to the reader; on a terminal with colour, each has its own look.
enum class TextTone { plain, heading, dim, done, overdue, now };

} // namespace vantrel::cli
