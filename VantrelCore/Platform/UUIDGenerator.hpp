#pragma once

#include <string>

namespace vantrel {

/// Source of new UUIDs, so that record names made in a test or a reproducible run can be fixed.
class UUIDGenerator {
public:
  virtual ~UUIDGenerator() = default;
  /// A new UUID in its canonical text form, upper-case hex: "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
  virtual std::string uuidString() = 0;
};

} // namespace vantrel
