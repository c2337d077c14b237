#pragma once

namespace vantrel {

/// What happens to the tasks planned into a gap that is deleted.
enum class GapTasksOnDelete {
  /// They stay planned on the day, without a gap.
  keepOnDay,
  /// Their schedule is cleared: they return to "anyday".
  returnToAnyday,
};

} // namespace vantrel
