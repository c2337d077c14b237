#include "VantrelCore/Widget/GapTimelineProvider.hpp"

namespace vantrel {

// Every size shows the same model; the size only decides how much of it the view lays out.

GapEntry GapTimelineProvider::placeholder(GapWidgetSize) const {
  const auto now = clock_.now();
  return {now, GapWidgetModel::placeholder(now)};
}

void GapTimelineProvider::getSnapshot(GapWidgetSize, const std::function<void(GapEntry)>& completion) const {
  const auto now = clock_.now();
  completion({now, GapWidgetModel::load(now, environment_)});
}

void GapTimelineProvider::getTimeline(GapWidgetSize,
                                      const std::function<void(GapTimeline)>& completion) const {
  GapTimeline timeline;
  for (auto& model : GapWidgetModel::timeline(clock_.now(), environment_)) {
    const auto date = model.asOf;
    timeline.entries.push_back({date, std::move(model)});
  }
  completion(std::move(timeline));
}

} // namespace vantrel
