#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// Bytes as lower-case hex digits, two per byte: how opaque bytes travel inside JSON.
std::string hexText(std::string_view bytes);
/// The bytes of hex digits (either case); nothing for text that is not an even run of them.
std::optional<std::string> bytesOfHexText(std::string_view text);

} // namespace vantrel
