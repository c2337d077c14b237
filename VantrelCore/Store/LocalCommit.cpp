#include "VantrelCore/Store/LocalCommit.hpp"

#include "VantrelCore/Store/SavedEngineState.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"

namespace vantrel {
namespace {

template <class Step> void step(const Logger& logger, const char* failureFormat, Step write) {
  try {
    write();
  } catch (const std::exception& error) {
    logger.error(failureFormat, error.what());
    throw;
  }
}

} // namespace

std::int64_t LocalCommit::write(const CloudKitPersistence& persistence, const Logger& logger) const {
  if (journal) {
    step(logger, "Failed to write pending changes: %@",
         [&] { persistence.writePendingChanges(journal->encodeJSON()); });
  }
  const std::string text = snapshot.encodeJSON();
  step(logger, "Failed to write cache snapshot: %@", [&] { persistence.writeCacheSnapshot(text); });
  step(logger, "Failed to store server copies: %@", [&] { serverCopies.applyTo(persistence); });
  if (sharedRecords) {
    step(logger, "Shared records snapshot write failed: %@",
         [&] { persistence.writeSharedRecordsSnapshot(*sharedRecords); });
  }
  if (sharedEngineState) {
    step(logger, "Failed to persist shared sync engine state: %@", [&] {
      persistence.writeSharedSyncEngineState(SavedEngineState::encode(number, *sharedEngineState));
    });
  }
  if (privateEngineState) {
    step(logger, "Failed to persist sync engine state: %@",
         [&] { persistence.writeSyncEngineState(SavedEngineState::encode(number, *privateEngineState)); });
  }
  if (!drainedIntentActions.empty()) {
    step(logger, "Removing drained intent actions failed: %@", [&] {
      IntentActionQueue::remove(persistence.fileSystem(), persistence.sharedDirectory(),
                                drainedIntentActions);
    });
  }
  return std::int64_t(text.size());
}

} // namespace vantrel
