#pragma once

#include <string>

namespace vantrel {

/// Where a reader of a change feed stands. Opaque: only the database that issued it reads its bytes.
struct CloudChangeToken {
  std::string data{};

  friend bool operator==(const CloudChangeToken&, const CloudChangeToken&) = default;
};

} // namespace vantrel
