#pragma once

namespace vantrel {

/// A calendar's colour, each channel 0 to 1.
struct RGBColor {
  double r = 0;
  double g = 0;
  double b = 0;

  friend bool operator==(const RGBColor&, const RGBColor&) = default;
};

} // namespace vantrel
