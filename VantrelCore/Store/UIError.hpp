#pragma once

#include <string>

namespace vantrel {

/// The error banner: one line for the user, and whether the app recovers by itself.
struct UIError {
  std::string summary{};
  bool isRecoverable = true;

  friend bool operator==(const UIError&, const UIError&) = default;
};

} // namespace vantrel
