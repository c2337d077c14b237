#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF, no cut-off sequences.
bool isValidUTF8(std::string_view text);
/// The byte offset of the first byte that does not start a well-formed sequence; none for valid text.
std::optional<std::size_t> firstInvalidUTF8Byte(std::string_view text);
/// The text with every ill-formed sequence replaced by U+FFFD, one replacement per maximal ill-formed
/// subpart as Unicode recommends; valid text comes back unchanged.
std::string repairedUTF8(std::string_view text);

} // namespace vantrel
