#pragma once

#include "VantrelCore/Platform/UUIDGenerator.hpp"

#include <mutex>
#include <random>

namespace vantrel {

/// Version 4 (random) UUIDs from the operating system's entropy source. Safe to share between threads.
class RandomUUIDGenerator final : public UUIDGenerator {
public:
  std::string uuidString() override;

private:
  std::mutex mutex_;
  std::random_device device_;
};

} // namespace vantrel
