#pragma once

#include <array>
#include <string_view>

namespace vantrel {

/// The colour names an area may carry; screens map each to their own shade.
inline constexpr std::array<std::string_view, 13> areaColorPalette{
    "red",  "orange", "yellow", "green", "mint",  "teal", "cyan",
    "blue", "indigo", "purple", "pink",  "brown", "gray"};

} // namespace vantrel
