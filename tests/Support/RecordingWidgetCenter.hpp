#pragma once

#include "VantrelCore/Platform/WidgetCenter.hpp"

#include <atomic>

namespace vantrel::testing {

/// Counts the reloads asked of the widget host; safe to ask from a write queue's thread.
class RecordingWidgetCenter final : public WidgetCenter {
public:
  void reloadAllTimelines() override { ++reloads; }
  std::atomic<int> reloads = 0;
};

} // namespace vantrel::testing
