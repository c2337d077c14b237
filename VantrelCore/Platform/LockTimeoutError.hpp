#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <sys/types.h>

namespace vantrel {

/// Another process held an exclusive lock for longer than the caller would wait:
/// "gave up waiting for /p/profile.lock after 30 s: process 4242 holds it" ("another process" when the
/// holder did not say who it is).
class LockTimeoutError : public std::runtime_error {
public:
  LockTimeoutError(const std::filesystem::path& lockFile, std::chrono::milliseconds waited,
                   std::optional<pid_t> holder);

  const std::filesystem::path& lockFile() const noexcept { return lockFile_; }
  std::optional<pid_t> holder() const noexcept { return holder_; }

private:
  std::filesystem::path lockFile_;
  std::optional<pid_t> holder_;
};

} // namespace vantrel
