#pragma once

#include "VantrelCore/Model/CalendarDate.hpp"
#include "VantrelCore/Planning/DayRecords.hpp"

#include <string>
#include <string_view>
#include <unordered_set>

namespace vantrel {

/// What the widget needs of the cache snapshot for one day: the records of the day's plan, and which of
/// their projects the snapshot holds.
///
/// read() takes it from the snapshot's text without decoding the whole file: one pass checks every record
/// as the planner's decode does, without building it, and notes where the records of the day stand; only
/// the records kept are decoded. A large account's snapshot is therefore read in a fraction of a full
/// decode's time and memory, and a file the planner would refuse is refused here too.
struct GapWidgetData {
  DayRecords records{};
  /// The projects of the day's tasks that the snapshot holds; a project placed but not held is one shared
  /// with the user, whose records live in the shared store.
  std::unordered_set<std::string> heldProjects{};

  /// Throws DecodingError wherever CloudKitCacheSnapshot::decodeJSON() does: bad JSON anywhere, a
  /// top-level value of the wrong kind, a record of any map that does not decode or is filed under another
  /// name than its own.
  static GapWidgetData read(std::string_view snapshotText, const CalendarDate& day);
};

} // namespace vantrel
