#pragma once

#include "Linux/UniqueFileDescriptor.hpp"
#include "VantrelCore/Platform/WritableFile.hpp"

#include <filesystem>

namespace vantrel {

/// A file PosixFileSystem opened for writing; errors name the path it was created at.
class PosixWritableFile final : public WritableFile {
public:
  PosixWritableFile(UniqueFileDescriptor descriptor, std::filesystem::path path);

  void write(std::string_view bytes) override;
  void sync() override;
  void close() override;

private:
  UniqueFileDescriptor descriptor_;
  std::filesystem::path path_;
};

} // namespace vantrel
