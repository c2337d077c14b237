#include "VantrelCore/Sync/ConflictMerge.hpp"

#include <algorithm>
#include <optional>

namespace vantrel {
namespace {

/// The keys of the unit `key` belongs to: its coupled group, or the key alone.
std::vector<std::string_view> unitOf(std::string_view key) {
  for (const auto& group : ConflictMerge::coupledGroups) {
    if (std::ranges::find(group, key) != group.end()) {
      std::vector<std::string_view> unit;
      for (const auto member : group) {
        if (!member.empty()) {
          unit.push_back(member);
        }
      }
      return unit;
    }
  }
  return {key};
}

bool sameUnit(std::span<const std::string_view> unit, const CloudRecord& left, const CloudRecord& right) {
  return std::ranges::all_of(unit, [&](std::string_view key) {
    return ConflictMerge::sameValue(left.value(key), right.value(key));
  });
}

std::optional<std::int64_t> asInteger(const CloudValue& value) {
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return *number;
  }
  if (const auto* flag = std::get_if<bool>(&value)) {
    return *flag ? 1 : 0;
  }
  return std::nullopt;
}

std::vector<CloudRecordID> referencedIDs(const std::vector<CloudReference>& references) {
  std::vector<CloudRecordID> ids;
  for (const auto& reference : references) {
    ids.push_back(reference.recordID);
  }
  return ids;
}

} // namespace

bool ConflictMerge::sameValue(const CloudValue* left, const CloudValue* right) {
  if (!left || !right) {
    return !left && !right;
  }
  if (const auto leftNumber = asInteger(*left), rightNumber = asInteger(*right); leftNumber && rightNumber) {
    return *leftNumber == *rightNumber;
  }
  if (const auto* leftReference = std::get_if<CloudReference>(left)) {
    const auto* rightReference = std::get_if<CloudReference>(right);
    return rightReference && leftReference->recordID == rightReference->recordID;
  }
  if (const auto* leftReferences = std::get_if<std::vector<CloudReference>>(left)) {
    const auto* rightReferences = std::get_if<std::vector<CloudReference>>(right);
    return rightReferences && referencedIDs(*leftReferences) == referencedIDs(*rightReferences);
  }
  return *left == *right;
}

ConflictMerge::Result ConflictMerge::merge(const CloudRecord& ancestor, const CloudRecord& local,
                                           const CloudRecord& server) {
  Result result{.merged = server};
  result.merged.clearChangedKeys();
  std::vector<std::string_view> visited;
  for (const auto key : knownFieldKeys) {
    if (std::ranges::find(visited, key) != visited.end()) {
      continue;
    }
    const auto unit = unitOf(key);
    visited.insert(visited.end(), unit.begin(), unit.end());
    if (sameUnit(unit, ancestor, local)) {
      continue;
    }
    if (sameUnit(unit, ancestor, server)) {
      for (const auto member : unit) {
        if (const auto* value = local.value(member)) {
          result.merged.setValue(member, *value);
        } else {
          result.merged.removeValue(member);
        }
        result.kept.emplace_back(member);
      }
      continue;
    }
    if (sameUnit(unit, local, server)) {
      continue;
    }
    if (unit.size() == 1 && unit.front() == "sortIndex") {
      continue;
    }
    for (const auto member : unit) {
      result.clashed.emplace_back(member);
    }
  }
  return result;
}

} // namespace vantrel
