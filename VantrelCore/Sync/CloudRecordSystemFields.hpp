#pragma once

#include "VantrelCore/Platform/Date.hpp"

#include <optional>
#include <string>

namespace vantrel {

/// A record's server bookkeeping. A record that was never saved has none of it; a save sends the change
/// tag it last saw, so the server can tell whether someone else changed the record since.
struct CloudRecordSystemFields {
  std::optional<std::string> changeTag{};
  std::optional<Date> creationDate{};
  std::optional<Date> modificationDate{};
  std::optional<std::string> creatorUserRecordName{};
  std::optional<std::string> lastModifiedUserRecordName{};

  friend bool operator==(const CloudRecordSystemFields&, const CloudRecordSystemFields&) = default;
};

} // namespace vantrel
