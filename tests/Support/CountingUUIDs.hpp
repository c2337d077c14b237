#pragma once

#include "VantrelCore/Platform/UUIDGenerator.hpp"

#include <string>

namespace vantrel::testing {

/// "UUID-1", "UUID-2", ...: ids a test can name before they are made.
class CountingUUIDs final : public UUIDGenerator {
public:
  std::string uuidString() override { return "UUID-" + std::to_string(++count_); }

private:
  int count_ = 0;
};

} // namespace vantrel::testing
