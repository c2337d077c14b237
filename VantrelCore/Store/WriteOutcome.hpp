#pragma once

#include "VantrelCore/Model/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace vantrel {

/// How the store's latest write, or fetch, went: for the sync status and the diagnostics report.
struct WriteOutcome {
  Date when{};
  std::int64_t recordCount = 0;
  /// Absent on success.
  std::optional<std::string> errorDescription{};

  friend bool operator==(const WriteOutcome&, const WriteOutcome&) = default;
};

} // namespace vantrel
