#include "tests/Support/TemporaryFolder.hpp"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <unistd.h>

namespace vantrel::testing {

TemporaryFolder::TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}

TemporaryFolder::TemporaryFolder(const std::filesystem::path& parent) {
  std::string pattern = (parent / "vantrel-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp " + pattern);
  }
  path_ = pattern;
}

TemporaryFolder TemporaryFolder::inMemory() {
  const std::filesystem::path memory = "/dev/shm";
  std::error_code ignored;
  return std::filesystem::is_directory(memory, ignored) && ::access(memory.c_str(), W_OK) == 0
             ? TemporaryFolder(memory)
             : TemporaryFolder();
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

} // namespace vantrel::testing
