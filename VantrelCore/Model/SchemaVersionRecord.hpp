#pragma once

#include "VantrelCore/Model/RecordField.hpp"

#include <cstdint>
#include <string_view>
#include <tuple>

namespace vantrel {

/// The data schema version of a zone. There is one such record per zone, under a fixed name, so it
/// carries no record name of its own.
struct SchemaVersionRecord {
  std::int64_t version = 0;

  static constexpr std::string_view typeName = "SchemaVersionRecord";
  static constexpr auto fields() { return std::tuple{RecordField{"version", &SchemaVersionRecord::version}}; }
  friend bool operator==(const SchemaVersionRecord&, const SchemaVersionRecord&) = default;
};

} // namespace vantrel
