#include "VantrelCore/Sync/SyncEngineEvent.hpp"

namespace vantrel {

std::string_view syncEngineEventName(const SyncEngineEvent& event) {
  static constexpr std::string_view names[] = {"stateUpdate",
                                               "accountChange",
                                               "fetchedDatabaseChanges",
                                               "fetchedRecordZoneChanges",
                                               "sentDatabaseChanges",
                                               "sentRecordZoneChanges",
                                               "willFetchChanges",
                                               "willFetchRecordZoneChanges",
                                               "didFetchRecordZoneChanges",
                                               "didFetchChanges",
                                               "willSendChanges",
                                               "didSendChanges"};
  static_assert(std::size(names) == std::variant_size_v<SyncEngineEvent>);
  return names[event.index()];
}

} // namespace vantrel
