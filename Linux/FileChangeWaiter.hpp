#pragma once

#include "Linux/InotifyWatcher.hpp"
#include "Linux/UniqueFileDescriptor.hpp"
#include "VantrelCore/Platform/Date.hpp"

#include <filesystem>
#include <set>
#include <string>

namespace vantrel {

/// Sleeps until an instant of the wall clock, or until one of some files in a folder is written,
/// replaced or deleted, whichever comes first. A change of the system clock also ends the wait, so that
/// the caller reads the time again rather than sleeping past the instant it meant.
class FileChangeWaiter {
public:
  enum class Wake { deadline, fileChanged, clockChanged };

  /// Watches `folder`, which must exist. Throws FileSystemError.
  FileChangeWaiter(const std::filesystem::path& folder, std::set<std::string> fileNames);

  Wake waitUntil(Date deadline);

private:
  bool readEvents();

  std::filesystem::path folder_;
  std::set<std::string> fileNames_;
  InotifyWatcher watcher_;
  UniqueFileDescriptor timer_;
};

} // namespace vantrel
