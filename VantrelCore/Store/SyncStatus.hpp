#pragma once

#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Store/RecordSyncFailure.hpp"
#include "VantrelCore/Store/SyncConflict.hpp"
#include "VantrelCore/Store/UIError.hpp"
#include "VantrelCore/Store/WriteOutcome.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// How syncing has been going, apart from the data: what the status row and the banner show. A program
/// that makes its store anew for every run keeps it between runs, so that health and conflicts carry over.
struct SyncStatus {
  std::optional<WriteOutcome> lastFetch{};
  std::int64_t consecutiveFetchFailures = 0;
  std::optional<Date> pendingSince{};
  std::deque<SyncConflict> recentConflicts{};
  std::optional<UIError> lastUIError{};
  /// Records sync could not carry, by record name: unreadable fetched records and refused changes.
  std::vector<RecordSyncFailure> recordFailures{};

  /// One JSON object; absent values are left out.
  std::string encodeJSON() const;
  /// Throws DecodingError naming the key that is wrong.
  static SyncStatus decodeJSON(std::string_view text);

  friend bool operator==(const SyncStatus&, const SyncStatus&) = default;
};

} // namespace vantrel
