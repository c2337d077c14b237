#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

namespace vantrel {

/// One stored field of an entity record: its key in every stored form and the member that holds it.
///
/// Each record lists its fields once, in order (`fields()`); the JSON codec and the data generators walk
/// that list, so a field added to a record cannot be forgotten by one of them.
template <class Record, class Value> struct RecordField {
  std::string_view key;
  Value Record::*member;

  using RecordType = Record;
  using ValueType = Value;
};

// Spelled out for compilers without C++20 aggregate deduction (clang before 17, and the tools built on it).
template <class Record, class Value>
RecordField(std::string_view, Value Record::*) -> RecordField<Record, Value>;

template <class T> inline constexpr bool isOptionalField = false;
template <class T> inline constexpr bool isOptionalField<std::optional<T>> = true;

/// Calls `visit(field)` for every field of `Record`, in declaration order.
template <class Record, class Visit> constexpr void forEachRecordField(Visit&& visit) {
  std::apply([&](const auto&... field) { (visit(field), ...); }, Record::fields());
}

template <class Record> constexpr std::size_t recordFieldCount() {
  return std::tuple_size_v<decltype(Record::fields())>;
}

} // namespace vantrel
