#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// Turns links opened from outside (the widget's tap) into a request for the Today screen, focused on one
/// gap when the link names it. One per application, used on its main thread; the root view watches the
/// token and switches to Today when it moves.
class DeepLinkRouter {
public:
  /// Moves on every accepted link.
  std::int64_t todayRequestToken() const { return todayRequestToken_; }
  /// The gap Today should scroll to and focus.
  const std::optional<std::string>& pendingFocusGapID() const { return pendingFocusGapID_; }

  /// Accepts "vantrel://today" (the host "today"; "vantrel:today" has no host and is refused), optionally
  /// with a "gap" query item naming a gap (percent-encoded), and answers whether it did. An accepted link
  /// moves the token and, when its first "gap" item has a value, makes that gap the pending one; anything
  /// else changes nothing. The scheme is compared exactly: the planner registers it in lower case, and a link
  /// spelt otherwise was not made by it.
  bool handle(std::string_view url);
  /// Today has focused the gap: clears it, publishing a change only when one was pending.
  void consumePendingFocus();

  /// Called after a member has changed, and only then.
  std::function<void()> onChange;

private:
  void changed() const {
    if (onChange) {
      onChange();
    }
  }

  std::int64_t todayRequestToken_ = 0;
  std::optional<std::string> pendingFocusGapID_{};
};

} // namespace vantrel
