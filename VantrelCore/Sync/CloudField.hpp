#pragma once

#include "VantrelCore/Sync/CloudReference.hpp"

#include <string_view>

namespace vantrel {

/// How one entity field travels in a cloud record: under which key, from which member, and, for a field
/// that names another record, as a reference with which delete action and whether the target is also the
/// record's parent (sharing a record shares its children).
template <class Record, class Value> struct CloudField {
  std::string_view key;
  Value Record::*member;
  bool isReference = false;
  CloudReference::Action action = CloudReference::Action::none;
  bool isParent = false;

  using ValueType = Value;
};

template <class Record, class Value>
constexpr CloudField<Record, Value> cloudValue(std::string_view key, Value Record::*member) {
  return {key, member};
}

template <class Record, class Value>
constexpr CloudField<Record, Value> cloudReference(std::string_view key, Value Record::*member,
                                                   CloudReference::Action action, bool isParent = false) {
  return {key, member, true, action, isParent};
}

} // namespace vantrel
