#pragma once

#include <string_view>

namespace vantrel {

/// How well the store keeps up with the cloud, as the status row shows it.
enum class SyncHealth { healthy, degraded, broken };

constexpr std::string_view syncHealthName(SyncHealth health) {
  switch (health) {
  case SyncHealth::healthy:
    return "healthy";
  case SyncHealth::degraded:
    return "degraded";
  case SyncHealth::broken:
    return "broken";
  }
  return "broken";
}

} // namespace vantrel
