#pragma once

#include "VantrelCore/Sync/CloudRecord.hpp"

#include <string_view>

namespace vantrel {

// Both readers repair text that is not UTF-8 with U+FFFD (one per ill-formed sequence), except the record's
// own ID, which a repair would turn into another record's: bytes whose ID is not UTF-8 hold no record.

/// The record that CloudRecord::systemFieldsData() wrote: type, ID and bookkeeping, no values and no changed
/// keys. Throws CloudKitRecordError::malformedSystemFields() for bytes it did not write.
CloudRecord unarchiveCKRecord(std::string_view data);

/// The record that CloudRecord::wholeRecordData() wrote, with no changed keys. Throws
/// CloudKitRecordError::malformedSystemFields() for bytes it did not write.
CloudRecord unarchiveWholeCKRecord(std::string_view data);

} // namespace vantrel
