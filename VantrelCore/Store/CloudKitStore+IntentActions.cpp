#include "VantrelCore/Store/CloudKitStore.hpp"
#include "VantrelCore/Store/CloudKitStoreError.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"

#include <set>

namespace vantrel {

void CloudKitStore::drainPendingIntentActions() {
  try {
    guardWrite();
  } catch (const CloudKitStoreError& error) {
    // Every action would fail for the same passing reason and be dropped with it.
    logger_.info("Intent actions wait: %@", error.what());
    return;
  }
  IntentActionQueue queue(persistence_.sharedDirectory(), persistence_.fileSystem(), environment_.clock,
                          environment_.uuids ? *environment_.uuids : randomUUIDs_);
  const auto pending = queue.pending();
  if (pending.empty()) {
    return;
  }
  std::set<std::string> handled;
  for (const auto& action : pending) {
    try {
      setTaskDone(action.taskRecordName, action.done);
    } catch (const std::exception& error) {
      logger_.error("Draining intent action %s failed: %@", action.id, error.what());
    }
    handled.insert(action.id);
  }
  try {
    queue.remove(handled);
  } catch (const std::exception& error) {
    // The actions stay queued and are applied again by the next drain; setting a done state twice is
    // harmless.
    logger_.error("Removing drained intent actions failed: %@", error.what());
  }
}

} // namespace vantrel
