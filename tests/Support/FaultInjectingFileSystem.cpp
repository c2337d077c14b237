#include "tests/Support/FaultInjectingFileSystem.hpp"

#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"

#include <unistd.h>

namespace vantrel::testing {

FaultInjectingFileSystem::FaultInjectingFileSystem() : real_(PosixFileSystem::shared()) {}

void FaultInjectingFileSystem::failCall(Step step, int nth, int errorNumber) {
  faults_[{step, nth}] = errorNumber;
}

void FaultInjectingFileSystem::failChange(int nth, int errorNumber) {
  failAtChange_ = nth;
  changeError_ = errorNumber;
}

int FaultInjectingFileSystem::countChange() {
  ++changes_;
  if (changes_ == stopAtChange_) {
    ::_exit(stoppedExitStatus);
  }
  return changes_ == failAtChange_ ? changeError_ : 0;
}

int FaultInjectingFileSystem::countCall(Step step) {
  if (step != Step::close) {
    if (const int error = countChange()) {
      ++counts_[index(step)];
      return error;
    }
  }
  const int call = ++counts_[index(step)];
  const auto fault = faults_.find({step, call});
  return fault != faults_.end() ? fault->second : 0;
}

int FaultInjectingFileSystem::createExclusive(const std::filesystem::path& path, mode_t mode) {
  createRequests_.push_back(path);
  if (const int error = countCall(Step::create)) {
    throw FileSystemError("create", path, error);
  }
  const int fd = real_.createExclusive(path, mode);
  openFiles_[fd] = path;
  return fd;
}

void FaultInjectingFileSystem::writeAll(int fd, std::string_view bytes) {
  if (const int error = countCall(Step::write)) {
    throw FileSystemError("write", openFiles_.at(fd), error);
  }
  real_.writeAll(fd, bytes);
}

void FaultInjectingFileSystem::syncFile(int fd) {
  if (const int error = countCall(Step::syncFile)) {
    throw FileSystemError("fsync", openFiles_.at(fd), error);
  }
  if (!skipSyncs_) {
    real_.syncFile(fd);
  }
}

void FaultInjectingFileSystem::closeFile(int fd) {
  const auto path = openFiles_.at(fd);
  openFiles_.erase(fd);
  const int error = countCall(Step::close);
  real_.closeFile(fd);
  if (error != 0) {
    throw FileSystemError("close", path, error);
  }
}

void FaultInjectingFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (const int error = countCall(Step::rename)) {
    throw FileSystemError("rename", from, to, error);
  }
  real_.rename(from, to);
}

void FaultInjectingFileSystem::syncFileSystem(const std::filesystem::path& path) {
  if (const int error = countCall(Step::syncFileSystem)) {
    throw FileSystemError("syncfs", path, error);
  }
  if (!skipSyncs_) {
    real_.syncFileSystem(path);
  }
}

void FaultInjectingFileSystem::syncDirectory(const std::filesystem::path& directory) {
  if (const int error = countCall(Step::syncDirectory)) {
    throw FileSystemError("fsync", directory, error);
  }
  if (!skipSyncs_) {
    real_.syncDirectory(directory);
  }
}

void FaultInjectingFileSystem::removeFile(const std::filesystem::path& path) {
  if (const int error = countChange()) {
    throw FileSystemError("unlink", path, error);
  }
  real_.removeFile(path);
}

std::optional<std::string> FaultInjectingFileSystem::readFile(const std::filesystem::path& path) {
  return real_.readFile(path);
}

void FaultInjectingFileSystem::createDirectories(const std::filesystem::path& path, mode_t mode) {
  real_.createDirectories(path, mode);
}

bool FaultInjectingFileSystem::exists(const std::filesystem::path& path) {
  return real_.exists(path);
}

} // namespace vantrel::testing
