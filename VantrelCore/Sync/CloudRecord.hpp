#pragma once

#include "VantrelCore/Sync/CloudRecordID.hpp"
#include "VantrelCore/Sync/CloudRecordSystemFields.hpp"
#include "VantrelCore/Sync/CloudReference.hpp"
#include "VantrelCore/Sync/CloudValue.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

/// One record of the cloud database: a type, an ID, typed field values in the order they were set, an
/// optional parent (sharing a record shares its children), the server's bookkeeping, and the keys changed
/// here since the record was last archived, which are what a save of changed keys sends.
class CloudRecord {
public:
  CloudRecord(std::string recordType, CloudRecordID recordID);

  /// An ASCII letter, then ASCII letters, digits and underscores, at most 255 characters in all.
  static bool isValidFieldKey(std::string_view key);

  const std::string& recordType() const { return recordType_; }
  const CloudRecordID& recordID() const { return recordID_; }

  /// The value under `key`, or nullptr when the record holds none.
  const CloudValue* value(std::string_view key) const;
  /// Sets the value and marks the key changed. A key that breaks the naming rule is a program error.
  void setValue(std::string_view key, CloudValue value);
  /// Leaves the key without a value and marks it changed, also when it held none here: a record rebuilt
  /// from its bookkeeping alone has no values, and the save must still clear the key on the server.
  void removeValue(std::string_view key);
  /// The keys that hold a value, in the order they were first set.
  std::vector<std::string> allKeys() const;

  /// Keys set or removed since the last clearChangedKeys(), in the order they were first changed.
  const std::vector<std::string>& changedKeys() const { return changedKeys_; }
  void clearChangedKeys() { changedKeys_.clear(); }

  const std::optional<CloudReference>& parent() const { return parent_; }
  void setParent(std::optional<CloudReference> parent) { parent_ = std::move(parent); }

  const CloudRecordSystemFields& systemFields() const { return systemFields_; }
  void setSystemFields(CloudRecordSystemFields systemFields) { systemFields_ = std::move(systemFields); }

  /// Opaque bytes of the record's type, ID and bookkeeping only: what a later save needs to send the change
  /// tag it last saw. Read back with unarchiveCKRecord().
  std::string systemFieldsData() const;
  /// Opaque bytes of the whole record as the server holds it: bookkeeping, parent and every value, without
  /// the local changed keys. Read back with unarchiveWholeCKRecord().
  std::string wholeRecordData() const;

  friend bool operator==(const CloudRecord&, const CloudRecord&) = default;

private:
  void requireValidKey(std::string_view key) const;
  void markChanged(std::string_view key);

  std::string recordType_;
  CloudRecordID recordID_;
  std::vector<std::pair<std::string, CloudValue>> fields_;
  std::optional<CloudReference> parent_;
  CloudRecordSystemFields systemFields_;
  std::vector<std::string> changedKeys_;
};

} // namespace vantrel
