#pragma once

#include "VantrelCore/Store/CloudKitCache.hpp"
#include "VantrelCore/Store/Rules/RecordWriter.hpp"

#include <string>
#include <vector>

namespace vantrel::testing {

/// Lands every write in the cache, as the store does, and notes it as "save Type/name" or
/// "remove Type/name", so a test can tell exactly what a rule wrote and in which order.
class RecordingWriter final : public RecordWriter {
public:
  explicit RecordingWriter(CloudKitCache& cache) : cache_(cache) {}

  void save(AnyRecord record) override;
  void remove(std::string_view recordType, std::string_view recordName) override;

  /// The writes since the last take, and forgets them.
  std::vector<std::string> take() { return std::exchange(writes_, {}); }

private:
  CloudKitCache& cache_;
  std::vector<std::string> writes_;
};

} // namespace vantrel::testing
