#pragma once

#include "VantrelCore/Platform/Logger.hpp"
#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"
#include "VantrelCore/Store/CloudKitPersistence.hpp"
#include "VantrelCore/Store/PendingChangeJournal.hpp"
#include "VantrelCore/Store/PendingServerCopies.hpp"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace vantrel {

/// One save point: what the store keeps on disk, captured at one moment on the owner thread, and written
/// in an order in which no file ever gets ahead of the ones written before it, wherever the writing
/// stops (a crash, a full disk):
///  1. the journal of the changes waiting to be sent, with their records: from here on nothing the user
///     changed can be lost with the snapshot or with the engine state;
///  2. the snapshot, the records the screens and the widget show;
///  3. the server's bookkeeping and base copies of the records (they must not be newer than the records);
///  4. the shared records, then the engines' states, so a change token is never on disk before the records
///     it covers;
///  5. only then the widget's queued actions the records now hold come off their queue.
/// A failing step stops the ones after it; a later save point writes everything again.
struct LocalCommit {
  /// Counts save points across runs; the snapshot, the journal and the engine states carry it, so that
  /// start-up can tell which of them is older.
  std::int64_t number = 0;
  /// The records, stamped with `number`.
  CloudKitCacheSnapshot snapshot{};
  /// Absent when nothing about the pending changes is known yet (before the store started): the journal
  /// on disk stays as it is.
  std::optional<PendingChangeJournal> journal{};
  PendingServerCopies::Batch serverCopies{};
  std::optional<std::string> sharedRecords{};
  /// The engines' own serializations; absent when they did not change since the last save point.
  std::optional<std::string> privateEngineState{};
  std::optional<std::string> sharedEngineState{};
  std::set<std::string> drainedIntentActions{};

  /// Writes the steps in order and answers the snapshot's size. Throws at the first failing step, after
  /// logging it, with a text that names what could not be written.
  std::int64_t write(const CloudKitPersistence& persistence, const Logger& logger) const;
};

} // namespace vantrel
