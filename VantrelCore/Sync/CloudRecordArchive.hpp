#pragma once

#include "VantrelCore/Sync/CloudRecord.hpp"

#include <string_view>

namespace vantrel {

/// The record that CloudRecord::systemFieldsData() wrote: type, ID and bookkeeping, no values and no changed
/// keys. Throws CloudKitRecordError::malformedSystemFields() for bytes it did not write.
CloudRecord unarchiveCKRecord(std::string_view data);

/// The record that CloudRecord::wholeRecordData() wrote, with no changed keys. Throws
/// CloudKitRecordError::malformedSystemFields() for bytes it did not write.
CloudRecord unarchiveWholeCKRecord(std::string_view data);

} // namespace vantrel
