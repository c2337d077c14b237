#pragma once

#include "VantrelCore/Model/TimeFormat.hpp"
#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Widget/GapWidgetModel.hpp"

namespace vantrel {

/// One entry of the widget's timeline: the model the host shows from `date` on.
struct GapEntry {
  Date date{};
  GapWidgetModel model{};

  /// {"date": ISO 8601 with the device zone's offset, "model": the model's JSON}.
  void writeJSON(JSONWriter& json) const {
    json.startObject();
    json.key("date");
    json.string(TimeFormat::iso8601(date));
    json.key("model");
    model.writeJSON(json);
    json.endObject();
  }

  friend bool operator==(const GapEntry&, const GapEntry&) = default;
};

} // namespace vantrel
