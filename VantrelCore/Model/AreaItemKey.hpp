#pragma once

#include <compare>
#include <string>

namespace vantrel {

/// Names an item of an area's content list in a reorder request.
struct AreaItemKey {
  enum class Kind { project, section };

  Kind kind = Kind::project;
  std::string id;

  static AreaItemKey project(std::string id) { return {Kind::project, std::move(id)}; }
  static AreaItemKey section(std::string id) { return {Kind::section, std::move(id)}; }

  friend auto operator<=>(const AreaItemKey&, const AreaItemKey&) = default;
};

} // namespace vantrel
