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
  const auto pending = IntentActionQueue::read(persistence_.fileSystem(), persistence_.sharedDirectory());
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
  // The actions leave the queue only once a save point holds what they did: taken off earlier, a crash
  // would lose them, and the widget, which lays the queue over the snapshot, would show the old state in
  // between. Until then a second drain applies them again, which is harmless.
  commits_.removeIntentActionsAfterSave(handled);
}

} // namespace vantrel
