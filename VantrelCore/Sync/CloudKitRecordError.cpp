#include "VantrelCore/Sync/CloudKitRecordError.hpp"

namespace vantrel {

CloudKitRecordError::CloudKitRecordError(Kind kind, const std::string& description)
    : std::runtime_error(description), kind_(kind) {}

CloudKitRecordError CloudKitRecordError::missingField(std::string_view recordType, std::string_view field,
                                                      std::string_view recordName) {
  return {Kind::missingField, "CKRecord " + std::string(recordType) + "/" + std::string(recordName) +
                                  " is missing required field '" + std::string(field) + "'"};
}

CloudKitRecordError CloudKitRecordError::wrongFieldType(std::string_view recordType, std::string_view field,
                                                        std::string_view expected, std::string_view got) {
  return {Kind::wrongFieldType, "CKRecord " + std::string(recordType) + " field '" + std::string(field) +
                                    "' has wrong type: expected " + std::string(expected) + ", got " +
                                    std::string(got)};
}

CloudKitRecordError CloudKitRecordError::danglingReference(std::string_view field, std::string_view target) {
  return {Kind::danglingReference,
          "CKReference on '" + std::string(field) + "' targets missing record '" + std::string(target) + "'"};
}

CloudKitRecordError CloudKitRecordError::malformedSystemFields() {
  return {Kind::malformedSystemFields, "cached CKRecord systemFields are malformed; refetch required"};
}

} // namespace vantrel
