#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::testing {

/// What a crash, a bad disk, another program or an attacker can leave where a valid file was: made from
/// `valid`, the same for the same seed. Cut at every tenth of its length and one byte short, bytes flipped,
/// spans dropped or doubled, a Latin-1 byte, a NUL and a stray continuation byte put in, quotes and
/// brackets swapped, digits made huge; `count` variants in all, the fixed ones first.
std::vector<std::string> hostileVariants(std::string_view valid, std::uint32_t seed, std::size_t count);

/// A JSON text nested `depth` deep: arrays ("[[[...]]]") or objects ({"a":{"a":...}}).
std::string deeplyNestedJSON(std::size_t depth, bool objects);

} // namespace vantrel::testing
