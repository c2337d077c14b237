#pragma once

#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/UndoableAction.hpp"

#include <string>

namespace vantrel::cli {

/// What taking back `action` did, for people: "Restored 'Call Anna' and its 2 subtasks", "Moved 'Call Anna'
/// back to Tue, Nov 24, 2026 at 9:00 AM". `cache` is read after the undo, for the titles.
std::string undoReport(const UndoableAction& action, const CloudKitCache& cache, const CalendarDate& today);

} // namespace vantrel::cli
