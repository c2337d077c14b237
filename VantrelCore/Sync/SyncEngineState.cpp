#include "VantrelCore/Sync/SyncEngineState.hpp"

#include "VantrelCore/JSON/JSONValue.hpp"
#include "VantrelCore/JSON/JSONWriter.hpp"
#include "VantrelCore/Model/DecodingError.hpp"
#include "VantrelCore/Platform/HexText.hpp"

#include <algorithm>
#include <set>

namespace vantrel {
namespace {

constexpr std::int64_t formatVersion = 1;

// Tokens are opaque bytes; hex keeps them intact in JSON whatever they hold.
std::string unhex(std::string_view text, const std::string& path) {
  auto bytes = bytesOfHexText(text);
  if (!bytes) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, path, "expected hex digits");
  }
  return std::move(*bytes);
}

void writeZone(JSONWriter& writer, const CloudRecordZoneID& zoneID) {
  writer.key("zoneName");
  writer.string(zoneID.zoneName);
  writer.key("ownerName");
  writer.string(zoneID.ownerName);
}

/// Reads one member, adding its key to the path of any error.
template <class Read>
auto member(const rapidjson::Value& object, const char* key, const std::string& path, Read read)
    -> decltype(read(object)) {
  const auto found = object.FindMember(key);
  const std::string memberPath = path.empty() ? key : path + "/" + key;
  if (found == object.MemberEnd()) {
    throw DecodingError(DecodingError::Kind::keyNotFound, memberPath, "is missing required key");
  }
  try {
    return read(found->value);
  } catch (const DecodingError& error) {
    throw error.nestedIn(memberPath);
  }
}

std::string readString(const rapidjson::Value& value) {
  return std::string(readJSONString(value));
}

CloudRecordZoneID readZone(const rapidjson::Value& object, const std::string& path) {
  return CloudRecordZoneID{member(object, "zoneName", path, readString),
                           member(object, "ownerName", path, readString)};
}

/// Calls `read` with each element of the array under `key` and its path.
template <class Read> void forEachElement(const rapidjson::Value& object, const char* key, Read read) {
  member(object, key, "", [&](const rapidjson::Value& array) {
    if (!array.IsArray()) {
      throw DecodingError(DecodingError::Kind::typeMismatch, "",
                          "expected array, got " + std::string(jsonKindName(array)));
    }
    for (rapidjson::SizeType index = 0; index < array.Size(); ++index) {
      // The path is relative to the array: member() puts the array's key in front.
      read(readJSONObject(array[index]), std::to_string(index));
    }
    return 0;
  });
}

template <class Kind>
Kind readKind(std::string_view text, std::initializer_list<std::pair<std::string_view, Kind>> names,
              const std::string& path) {
  for (const auto& [name, kind] : names) {
    if (name == text) {
      return kind;
    }
  }
  throw DecodingError(DecodingError::Kind::dataCorrupted, path + "/kind",
                      "unknown kind '" + std::string(text) + "'");
}

} // namespace

std::optional<PendingRecordZoneChange::Kind>
SyncEngineState::pendingChange(const CloudRecordID& recordID) const {
  const auto found = recordSlots_.find(recordID);
  return found == recordSlots_.end() ? std::nullopt
                                     : std::optional(recordChanges_[found->second.position].kind);
}

std::uint64_t SyncEngineState::changeGeneration(const CloudRecordID& recordID) const {
  const auto found = recordSlots_.find(recordID);
  return found == recordSlots_.end() ? 0 : found->second.generation;
}

void SyncEngineState::add(std::span<const PendingRecordZoneChange> changes) {
  for (const auto& change : changes) {
    const auto [slot, inserted] = recordSlots_.try_emplace(change.recordID, Slot{recordChanges_.size()});
    slot->second.generation = ++lastGeneration_;
    if (inserted) {
      recordChanges_.push_back(change);
    } else {
      recordChanges_[slot->second.position] = change;
    }
  }
}

void SyncEngineState::remove(std::span<const PendingRecordZoneChange> changes) {
  std::set<std::size_t> removed;
  for (const auto& change : changes) {
    const auto found = recordSlots_.find(change.recordID);
    if (found != recordSlots_.end() && recordChanges_[found->second.position] == change) {
      removed.insert(found->second.position);
      recordSlots_.erase(found);
    }
  }
  if (removed.empty()) {
    return;
  }
  std::size_t kept = 0;
  for (std::size_t index = 0; index < recordChanges_.size(); ++index) {
    if (removed.contains(index)) {
      continue;
    }
    // Moving an element onto itself would empty its strings.
    if (kept != index) {
      recordChanges_[kept] = std::move(recordChanges_[index]);
      recordSlots_.at(recordChanges_[kept].recordID).position = kept;
    }
    ++kept;
  }
  recordChanges_.resize(kept);
}

void SyncEngineState::add(std::span<const PendingDatabaseChange> changes) {
  for (const auto& change : changes) {
    const auto listed = std::ranges::find(databaseChanges_, change.zoneID, &PendingDatabaseChange::zoneID);
    if (listed == databaseChanges_.end()) {
      databaseChanges_.push_back(change);
    } else {
      *listed = change;
    }
  }
}

void SyncEngineState::remove(std::span<const PendingDatabaseChange> changes) {
  std::erase_if(databaseChanges_, [&](const PendingDatabaseChange& listed) {
    return std::ranges::find(changes, listed) != changes.end();
  });
}

bool operator==(const SyncEngineState& left, const SyncEngineState& right) {
  return left.recordChanges_ == right.recordChanges_ && left.databaseChanges_ == right.databaseChanges_ &&
         left.databaseChangeToken_ == right.databaseChangeToken_ &&
         left.zoneChangeTokens_ == right.zoneChangeTokens_ && left.userRecordName_ == right.userRecordName_;
}

std::optional<CloudChangeToken> SyncEngineState::zoneChangeToken(const CloudRecordZoneID& zoneID) const {
  const auto found = zoneChangeTokens_.find(zoneID);
  return found == zoneChangeTokens_.end() ? std::nullopt : std::optional(found->second);
}

void SyncEngineState::setZoneChangeToken(const CloudRecordZoneID& zoneID,
                                         std::optional<CloudChangeToken> token) {
  if (token) {
    zoneChangeTokens_.insert_or_assign(zoneID, std::move(*token));
  } else {
    zoneChangeTokens_.erase(zoneID);
  }
}

void SyncEngineState::reset() {
  recordChanges_.clear();
  recordSlots_.clear();
  databaseChanges_.clear();
  databaseChangeToken_.reset();
  zoneChangeTokens_.clear();
}

void SyncEngineState::forgetChangeTokens() {
  databaseChangeToken_.reset();
  zoneChangeTokens_.clear();
}

std::string SyncEngineState::serialized() const {
  JSONWriter writer;
  writer.startObject();
  writer.key("version");
  writer.int64(formatVersion);
  if (userRecordName_) {
    writer.key("userRecordName");
    writer.string(*userRecordName_);
  }
  if (databaseChangeToken_) {
    writer.key("databaseChangeToken");
    writer.string(hexText(databaseChangeToken_->data));
  }
  writer.key("zoneChangeTokens");
  writer.startArray();
  for (const auto& [zoneID, token] : zoneChangeTokens_) {
    writer.startObject();
    writeZone(writer, zoneID);
    writer.key("token");
    writer.string(hexText(token.data));
    writer.endObject();
  }
  writer.endArray();
  writer.key("pendingDatabaseChanges");
  writer.startArray();
  for (const auto& change : databaseChanges_) {
    writer.startObject();
    writer.key("kind");
    writer.string(change.kind == PendingDatabaseChange::Kind::saveZone ? "saveZone" : "deleteZone");
    writeZone(writer, change.zoneID);
    writer.endObject();
  }
  writer.endArray();
  writer.key("pendingRecordZoneChanges");
  writer.startArray();
  for (const auto& change : recordChanges_) {
    writer.startObject();
    writer.key("kind");
    writer.string(change.kind == PendingRecordZoneChange::Kind::saveRecord ? "save" : "delete");
    writer.key("recordName");
    writer.string(change.recordID.recordName);
    writeZone(writer, change.recordID.zoneID);
    writer.endObject();
  }
  writer.endArray();
  writer.endObject();
  return writer.takeText();
}

SyncEngineState SyncEngineState::deserialize(std::string_view data) {
  return decode(parseJSON(data));
}

SyncEngineState SyncEngineState::decode(const rapidjson::Value& object) {
  const auto& root = readJSONObject(object);
  if (const auto version = member(root, "version", "", readJSONInt64); version != formatVersion) {
    throw DecodingError(DecodingError::Kind::dataCorrupted, "version",
                        "unknown engine state version " + std::to_string(version));
  }
  SyncEngineState state;
  if (root.HasMember("userRecordName")) {
    state.userRecordName_ = member(root, "userRecordName", "", readString);
  }
  if (root.HasMember("databaseChangeToken")) {
    state.databaseChangeToken_ =
        CloudChangeToken{unhex(member(root, "databaseChangeToken", "", readString), "databaseChangeToken")};
  }
  forEachElement(root, "zoneChangeTokens", [&](const rapidjson::Value& entry, const std::string& path) {
    state.zoneChangeTokens_.insert_or_assign(
        readZone(entry, path),
        CloudChangeToken{unhex(member(entry, "token", path, readString), path + "/token")});
  });
  forEachElement(root, "pendingDatabaseChanges", [&](const rapidjson::Value& entry, const std::string& path) {
    const auto kind =
        readKind<PendingDatabaseChange::Kind>(member(entry, "kind", path, readString),
                                              {{"saveZone", PendingDatabaseChange::Kind::saveZone},
                                               {"deleteZone", PendingDatabaseChange::Kind::deleteZone}},
                                              path);
    const PendingDatabaseChange change{kind, readZone(entry, path)};
    state.add(std::span(&change, 1));
  });
  forEachElement(
      root, "pendingRecordZoneChanges", [&](const rapidjson::Value& entry, const std::string& path) {
        const auto kind =
            readKind<PendingRecordZoneChange::Kind>(member(entry, "kind", path, readString),
                                                    {{"save", PendingRecordZoneChange::Kind::saveRecord},
                                                     {"delete", PendingRecordZoneChange::Kind::deleteRecord}},
                                                    path);
        const PendingRecordZoneChange change{
            kind, CloudRecordID{member(entry, "recordName", path, readString), readZone(entry, path)}};
        state.add(std::span(&change, 1));
      });
  return state;
}

} // namespace vantrel
