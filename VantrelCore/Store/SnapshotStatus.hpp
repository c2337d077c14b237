#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace vantrel {

/// The outcome of loading the cache snapshot at start, or of the latest write of it.
struct SnapshotStatus {
  Date when{};
  /// Bytes read or written.
  std::int64_t fileSize = 0;
  /// Records loaded; absent for a write.
  std::optional<std::int64_t> recordsLoaded{};
  /// What went wrong; absent on success.
  std::optional<std::string> errorDescription{};

  friend bool operator==(const SnapshotStatus&, const SnapshotStatus&) = default;
};

} // namespace vantrel
