#pragma once

#include "VantrelCore/Platform/Clock.hpp"
#include "VantrelCore/Widget/GapEntry.hpp"
#include "VantrelCore/Widget/GapTimeline.hpp"
#include "VantrelCore/Widget/GapWidgetEnvironment.hpp"
#include "VantrelCore/Widget/GapWidgetSize.hpp"

#include <functional>

namespace vantrel {

/// What the widget host asks of the widget. Stateless: every call reads the shared files afresh.
class GapTimelineProvider {
public:
  GapTimelineProvider(GapWidgetEnvironment environment, const Clock& clock)
      : environment_(environment), clock_(clock) {}

  /// The sample shown while the widget is being placed, dated now.
  GapEntry placeholder(GapWidgetSize size) const;
  /// One entry for now, for the widget gallery.
  void getSnapshot(GapWidgetSize size, const std::function<void(GapEntry)>& completion) const;
  /// An entry for now and for every later instant of today at which the display changes; reloaded
  /// after the last one.
  void getTimeline(GapWidgetSize size, const std::function<void(GapTimeline)>& completion) const;

private:
  GapWidgetEnvironment environment_;
  const Clock& clock_;
};

} // namespace vantrel
