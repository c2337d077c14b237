#pragma once

#include "VantrelCore/Store/CloudKitCacheSnapshot.hpp"

#include <cstddef>
#include <cstdint>

namespace vantrel::bench {

/// Generated data has the shape of the cache's snapshot.
using GeneratedDataSet = CloudKitCacheSnapshot;

/// A believable data set of `taskCount` tasks with about three records per task in all: subtasks,
/// schedules, sections, projects and their placements, days with gaps, inbox items. The same seed gives
/// the same data.
GeneratedDataSet generateDataSet(std::size_t taskCount, std::uint32_t seed = 20261122);

} // namespace vantrel::bench
