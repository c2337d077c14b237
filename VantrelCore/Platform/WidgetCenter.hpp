#pragma once

namespace vantrel {

/// Tells the widget host that the widget's data changed, so it asks for a new timeline now rather than
/// at the end of the current one.
class WidgetCenter {
public:
  virtual ~WidgetCenter() = default;
  /// Never throws: a host that cannot be reached shows the new state at its next reload.
  virtual void reloadAllTimelines() = 0;
};

} // namespace vantrel
