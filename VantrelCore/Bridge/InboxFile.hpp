#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// The inbox file as the editor left it: the items in order.
struct InboxFile {
  struct Item {
    /// None for an item the editor added.
    std::optional<std::string> id{};
    std::string title{};
    std::optional<Date> captured{};
    /// None for "notes: ~".
    std::optional<std::string> notes{};
    friend bool operator==(const Item&, const Item&) = default;
  };

  std::vector<Item> items{};

  /// Throws YAMLParseError naming the file and the line.
  static InboxFile parse(std::string_view text, std::string fileLabel);

  friend bool operator==(const InboxFile&, const InboxFile&) = default;
};

} // namespace vantrel
