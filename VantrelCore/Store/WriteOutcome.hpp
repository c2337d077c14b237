#pragma once

#include "VantrelCore/Model/RecordField.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// How the store's latest write, or fetch, went: for the sync status and the diagnostics report.
struct WriteOutcome {
  Date when{};
  std::int64_t recordCount = 0;
  /// Absent on success.
  std::optional<std::string> errorDescription{};

  static constexpr std::string_view typeName = "WriteOutcome";
  static constexpr auto fields() {
    return std::tuple{RecordField{"when", &WriteOutcome::when},
                      RecordField{"recordCount", &WriteOutcome::recordCount},
                      RecordField{"errorDescription", &WriteOutcome::errorDescription}};
  }

  friend bool operator==(const WriteOutcome&, const WriteOutcome&) = default;
};

} // namespace vantrel
