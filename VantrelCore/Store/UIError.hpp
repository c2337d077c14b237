#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <string>
#include <string_view>
#include <tuple>

namespace vantrel {

/// The error banner: one line for the user, and whether the app recovers by itself.
struct UIError {
  std::string summary{};
  bool isRecoverable = true;

  static constexpr std::string_view typeName = "UIError";
  static constexpr auto fields() {
    return std::tuple{RecordField{"summary", &UIError::summary},
                      RecordField{"isRecoverable", &UIError::isRecoverable}};
  }

  friend bool operator==(const UIError&, const UIError&) = default;
};

} // namespace vantrel
