#pragma once

#include "VantrelCore/Bridge/BridgeTaskItem.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantrel {

/// A project file as the editor left it: the project's fields, the current user's placement of it, and
/// one flat list of section headers and tasks in display order.
struct ProjectFile {
  struct Project {
    std::string id{};
    std::string name{};
    std::string status{};
    std::optional<std::string> purpose{};
    std::optional<CalendarDate> dueDate{};
    std::optional<Date> lastEdited{};
    /// From the "me:" block: the user's own placement.
    bool pinned = false;
    std::optional<std::int64_t> sortIndex{};
    friend bool operator==(const Project&, const Project&) = default;
  };
  /// A "- header:" item: the tasks after it, up to the next header, are in this section.
  struct Header {
    std::string title{};
    friend bool operator==(const Header&, const Header&) = default;
  };
  using Item = std::variant<Header, BridgeTaskItem>;

  Project project{};
  std::vector<Item> tasks{};

  /// Throws YAMLParseError naming the file and the line.
  static ProjectFile parse(std::string_view text, std::string fileLabel);

  friend bool operator==(const ProjectFile&, const ProjectFile&) = default;
};

} // namespace vantrel
