#pragma once

#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Sync/CloudReference.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantrel {

/// The value of one record field. A bool is kept as its own kind so it writes back as written, but it
/// reads like the number it is on the platform: an Int64 field may hold a bool and a Bool field an Int64.
using CloudValue =
    std::variant<std::string, std::int64_t, bool, Date, CloudReference, std::vector<std::string>,
                 std::vector<std::int64_t>, std::vector<Date>, std::vector<CloudReference>>;

/// The name errors use for the kind of a value: String, Int64, Bool, Date, CKReference, or a list of
/// them as [String], [Int64], [Date], [CKReference].
std::string_view cloudValueKindName(const CloudValue& value);

} // namespace vantrel
