#pragma once

#include <string_view>

namespace vantrel {

/// A file opened for writing by FileSystem::createExclusive. It belongs to whoever holds the object: when
/// the object ends unclosed, the file is closed then and a failure to close goes unreported, so a writer
/// that must know the bytes reached the file system calls close() itself. Every call throws
/// FileSystemError naming the file.
class WritableFile {
public:
  virtual ~WritableFile() = default;

  /// Writes every byte, continuing after partial writes and interruptions.
  virtual void write(std::string_view bytes) = 0;
  /// Makes what was written durable.
  virtual void sync() = 0;
  /// Releases the file even when it throws; closing again does nothing.
  virtual void close() = 0;
};

} // namespace vantrel
