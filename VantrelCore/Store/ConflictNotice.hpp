#pragma once

#include "VantrelCore/Sync/CloudRecord.hpp"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantrel {

/// What the user reads when a conflict took away a change of theirs, and the record labels it names.
class ConflictNotice {
public:
  /// Who made the change that won.
  enum class Source { otherDevice, sharedProject };

  ConflictNotice() = delete;

  /// "Your change to the title and deadline of Buy milk was replaced by ...": the clashed keys in words,
  /// a coupled group once ("details" when none can be named), the label or "an item".
  static std::string fieldNotice(std::span<const std::string> clashedKeys,
                                 const std::optional<std::string>& label, Source source);
  /// The notice when the server's version was taken whole.
  static std::string wholeRecordNotice(const std::optional<std::string>& label);

  /// The record's display label by its type: a title, a name or a gap's label; a schedule's is its task's,
  /// which `taskTitle` looks up. Absent when the record has none.
  static std::optional<std::string>
  displayLabel(const CloudRecord& record,
               const std::function<std::optional<std::string>(std::string_view task)>& taskTitle);
};

} // namespace vantrel
