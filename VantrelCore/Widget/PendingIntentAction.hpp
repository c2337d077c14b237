#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

/// A change to a task that the widget or a shortcut recorded for the planner to make: they run in other
/// processes and never write to the store themselves.
struct PendingIntentAction {
  enum class Kind { markDone };

  /// A fresh UUID text, made when the action is recorded.
  std::string id{};
  Kind kind = Kind::markDone;
  std::string taskRecordName{};
  /// The done state to set.
  bool done = false;
  Date createdAt{};

  /// The queue file's form: one compact JSON array, oldest first, each element an object with the keys
  /// "id", "kind", "taskRecordName", "done" and "createdAt" (seconds since 2001-01-01).
  static std::string encodeList(const std::vector<PendingIntentAction>& actions);
  /// Throws DecodingError when any element is malformed, a kind other than "markDone" included.
  static std::vector<PendingIntentAction> decodeList(std::string_view text);

  friend bool operator==(const PendingIntentAction&, const PendingIntentAction&) = default;
};

} // namespace vantrel
