#include "VantrelCore/Platform/LockTimeoutError.hpp"

#include <string>

namespace vantrel {
namespace {

std::string durationText(std::chrono::milliseconds waited) {
  if (waited.count() % 1000 == 0) {
    return std::to_string(waited.count() / 1000) + " s";
  }
  return std::to_string(waited.count()) + " ms";
}

} // namespace

LockTimeoutError::LockTimeoutError(const std::filesystem::path& lockFile, std::chrono::milliseconds waited,
                                   std::optional<pid_t> holder)
    : std::runtime_error("gave up waiting for " + lockFile.string() + " after " + durationText(waited) +
                         ": " + (holder ? "process " + std::to_string(*holder) : "another process") +
                         " holds it"),
      lockFile_(lockFile), holder_(holder) {}

} // namespace vantrel
