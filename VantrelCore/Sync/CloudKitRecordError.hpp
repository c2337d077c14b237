#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace vantrel {

/// A cloud record could not be read as an entity, or kept bookkeeping could not be restored.
/// `what()` is the exact text that is logged.
class CloudKitRecordError : public std::runtime_error {
public:
  enum class Kind { missingField, wrongFieldType, danglingReference, malformedSystemFields };

  static CloudKitRecordError missingField(std::string_view recordType, std::string_view field,
                                          std::string_view recordName);
  /// `expected` and `got` are kind names: Int64, String, Bool, Date, CKReference (lists as [String], ...).
  static CloudKitRecordError wrongFieldType(std::string_view recordType, std::string_view field,
                                            std::string_view expected, std::string_view got);
  static CloudKitRecordError danglingReference(std::string_view field, std::string_view target);
  static CloudKitRecordError malformedSystemFields();

  Kind kind() const noexcept { return kind_; }

private:
  CloudKitRecordError(Kind kind, const std::string& description);

  Kind kind_;
};

} // namespace vantrel
