#pragma once

#include <string_view>

namespace vantrel {

/// `text` without the white space and newlines at either end (Unicode space separators, U+2028, U+2029,
/// tab, LF, VT, FF, CR, NEL); what lies between is kept byte for byte.
std::string_view trimmingWhiteSpaceAndNewlines(std::string_view text);

} // namespace vantrel
