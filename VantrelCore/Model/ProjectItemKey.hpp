#pragma once

#include <compare>
#include <string>

namespace vantrel {

/// Names an item of a project's content list in a reorder request.
struct ProjectItemKey {
  enum class Kind { task, section };

  Kind kind = Kind::task;
  std::string id;

  static ProjectItemKey task(std::string id) { return {Kind::task, std::move(id)}; }
  static ProjectItemKey section(std::string id) { return {Kind::section, std::move(id)}; }

  friend auto operator<=>(const ProjectItemKey&, const ProjectItemKey&) = default;
};

} // namespace vantrel
