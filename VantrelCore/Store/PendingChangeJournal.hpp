#pragma once

#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// The changes of this device that the cloud has not confirmed yet, each save with its whole record as
/// the cache holds it: "pending-changes.json". Every save point writes it first, so that what waits to
/// be sent survives the loss of either of the two files that otherwise hold it, the snapshot (the
/// records) and the engine state (the list of what to send).
struct PendingChangeJournal {
  static constexpr std::int64_t currentVersion = 1;

  /// The save point that wrote it.
  std::int64_t localCommit = 0;
  /// The records whose save waits.
  CloudKitCacheSnapshot saves{};
  /// The names of the records whose deletion waits.
  std::vector<std::string> deletes{};

  bool empty() const { return saves.recordCount() == 0 && deletes.empty(); }

  /// One compact JSON object: "version", "localCommit", "saves" (in the snapshot's form), "deletes".
  std::string encodeJSON() const;
  /// Throws DecodingError naming where, for a version it does not know and for anything it did not write.
  static PendingChangeJournal decodeJSON(std::string_view text);

  friend bool operator==(const PendingChangeJournal&, const PendingChangeJournal&) = default;
};

} // namespace vantrel
