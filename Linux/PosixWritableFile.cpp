#include "Linux/PosixWritableFile.hpp"

#include "VantrelCore/Platform/FileSystemError.hpp"

#include <cerrno>
#include <unistd.h>

namespace vantrel {

PosixWritableFile::PosixWritableFile(UniqueFileDescriptor descriptor, std::filesystem::path path)
    : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

void PosixWritableFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_.get(), bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      throw FileSystemError("write", path_, errno);
    }
    if (written == 0) {
      // No progress and no error: give up rather than spin.
      throw FileSystemError("write", path_, EIO);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void PosixWritableFile::sync() {
  if (::fsync(descriptor_.get()) != 0) {
    throw FileSystemError("fsync", path_, errno);
  }
}

void PosixWritableFile::close() {
  if (!descriptor_) {
    return;
  }
  // Linux releases the descriptor even when close reports an error, so it is never retried.
  if (::close(descriptor_.release()) != 0) {
    throw FileSystemError("close", path_, errno);
  }
}

} // namespace vantrel
