#pragma once

#include "VantrelCore/Sync/SyncEngineState.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// A sync engine's state as the store keeps it on disk: the engine's own serialization together with
/// the save point that wrote it, so that start-up can tell change tokens that are newer than the records
/// beside them (and so must not be trusted).
struct SavedEngineState {
  /// Absent in files an older build wrote, which held the engine's serialization alone.
  std::optional<std::int64_t> localCommit{};
  SyncEngineState state{};

  /// {"localCommit":N,"engine":...} with the engine's JSON as it is.
  static std::string encode(std::int64_t localCommit, std::string_view engineSerialization);
  /// Reads both forms; throws DecodingError for anything else.
  static SavedEngineState decode(std::string_view bytes);
};

} // namespace vantrel
