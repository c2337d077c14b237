#pragma once

#include "VantrelCore/Sync/CloudRecord.hpp"
#include "VantrelCore/Sync/CloudRecordID.hpp"
#include "VantrelCore/Sync/PendingRecordZoneChange.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace vantrel {

/// The records one send carries: built by the delegate from the engine's pending changes.
struct RecordZoneChangeBatch {
  /// What one modify may carry.
  static constexpr std::size_t maximumItems = 400;
  /// Encoded bytes of the saved records, so that one request stays a reasonable size; a single record
  /// larger than this still goes, alone.
  static constexpr std::size_t maximumBytes = 1'000'000;

  /// The record to send for a pending save, or nothing when the record no longer exists here.
  using RecordProvider = std::function<std::optional<CloudRecord>(const CloudRecordID&)>;

  /// Takes pending changes in order until a limit is reached. A save the provider has no record for is
  /// left out and listed in `skippedSaves` (the engine drops it). Nothing when no change was taken.
  static std::optional<RecordZoneChangeBatch> make(std::span<const PendingRecordZoneChange> pendingChanges,
                                                   const RecordProvider& recordProvider);

  std::vector<CloudRecord> recordsToSave{};
  std::vector<CloudRecordID> recordIDsToDelete{};
  std::vector<CloudRecordID> skippedSaves{};
  /// All or nothing per zone.
  bool atomicByZone = false;
};

} // namespace vantrel
