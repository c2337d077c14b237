#include "VantrelCore/Sync/CloudRecord.hpp"

#include "VantrelCore/Platform/ProgramError.hpp"

#include <algorithm>

namespace vantrel {
namespace {

bool isASCIILetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

} // namespace

CloudRecord::CloudRecord(std::string recordType, CloudRecordID recordID)
    : recordType_(std::move(recordType)), recordID_(std::move(recordID)) {}

bool CloudRecord::isValidFieldKey(std::string_view key) {
  return !key.empty() && key.size() <= 255 && isASCIILetter(key.front()) &&
         std::all_of(key.begin() + 1, key.end(),
                     [](char c) { return isASCIILetter(c) || (c >= '0' && c <= '9') || c == '_'; });
}

const CloudValue* CloudRecord::value(std::string_view key) const {
  const auto found =
      std::find_if(fields_.begin(), fields_.end(), [&](const auto& field) { return field.first == key; });
  return found == fields_.end() ? nullptr : &found->second;
}

void CloudRecord::setValue(std::string_view key, CloudValue value) {
  requireValidKey(key);
  const auto found =
      std::find_if(fields_.begin(), fields_.end(), [&](const auto& field) { return field.first == key; });
  if (found == fields_.end()) {
    fields_.emplace_back(std::string(key), std::move(value));
  } else {
    found->second = std::move(value);
  }
  markChanged(key);
}

void CloudRecord::removeValue(std::string_view key) {
  requireValidKey(key);
  std::erase_if(fields_, [&](const auto& field) { return field.first == key; });
  markChanged(key);
}

std::vector<std::string> CloudRecord::allKeys() const {
  std::vector<std::string> keys;
  keys.reserve(fields_.size());
  for (const auto& field : fields_) {
    keys.push_back(field.first);
  }
  return keys;
}

void CloudRecord::requireValidKey(std::string_view key) const {
  if (!isValidFieldKey(key)) {
    programError("CloudRecord " + recordType_ + " field key '" + std::string(key) +
                 "' is not a valid field key");
  }
}

void CloudRecord::markChanged(std::string_view key) {
  if (std::find(changedKeys_.begin(), changedKeys_.end(), key) == changedKeys_.end()) {
    changedKeys_.emplace_back(key);
  }
}

} // namespace vantrel
