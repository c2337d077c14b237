#pragma once

#include "VantrelCore/Sync/CloudRecordID.hpp"

#include <compare>

namespace vantrel {

/// A field value that points at another record. With `deleteSelf` the database deletes the record that
/// holds the reference when its target is deleted.
struct CloudReference {
  enum class Action { none, deleteSelf };

  CloudRecordID recordID;
  Action action = Action::none;

  friend auto operator<=>(const CloudReference&, const CloudReference&) = default;
};

} // namespace vantrel
