#pragma once

#include "VantrelCore/Sync/RecordZoneChangeBatch.hpp"
#include "VantrelCore/Sync/SyncEngineEvent.hpp"

#include <optional>

namespace vantrel {

class SyncEngine;

/// What a sync engine asks of the code that owns the data.
class SyncEngineDelegate {
public:
  virtual ~SyncEngineDelegate() = default;

  /// One event; the engine delivers the next only after this returns, also when this changes the engine.
  virtual void handleEvent(const SyncEngineEvent& event, SyncEngine& engine) = 0;
  /// The next records to send, or nothing to end the send.
  virtual std::optional<RecordZoneChangeBatch> nextRecordZoneChangeBatch(const SendChangesContext& context,
                                                                         SyncEngine& engine) = 0;
};

} // namespace vantrel
