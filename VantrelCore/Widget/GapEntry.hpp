#pragma once

#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Widget/GapWidgetModel.hpp"

namespace vantrel {

/// One entry of the widget's timeline: the model the host shows from `date` on.
struct GapEntry {
  Date date{};
  GapWidgetModel model{};

  /// {"date": seconds since 2001-01-01, "model": the model's JSON}.
  void writeJSON(JSONWriter& json) const {
    json.startObject();
    json.key("date");
    json.date(date);
    json.key("model");
    model.writeJSON(json);
    json.endObject();
  }

  friend bool operator==(const GapEntry&, const GapEntry&) = default;
};

} // namespace vantrel
