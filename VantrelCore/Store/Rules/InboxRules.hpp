#pragma once

#include "VantrelCore/Platform/Date.hpp"
#include "VantrelCore/Store/Rules/RuleContext.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace vantrel {

/// The inbox: what was captured, and turning it into a task. Each checks everything before it writes
/// anything.
class InboxRules {
public:
  explicit InboxRules(const RuleContext& context) : context_(context) {}

  std::string add(std::string_view title, std::optional<std::string> notes, Date capturedAt,
                  std::optional<std::string> recordName = {}) const;
  void remove(std::string_view item) const;
  /// Turns the item into a task of the project (or, without one, of the area) and deletes the item. With
  /// `alsoAppendNote` the triage note goes at the end of the project's purpose, on a line of its own.
  std::string triage(std::string_view item, std::string_view area, std::optional<std::string> project,
                     bool alsoAppendNote) const;

private:
  const RuleContext& context_;
};

} // namespace vantrel
