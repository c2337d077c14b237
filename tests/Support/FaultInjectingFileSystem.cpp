#include "tests/Support/FaultInjectingFileSystem.hpp"

#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"

#include <unistd.h>

namespace vantrel::testing {

/// A real file whose steps count, and fail, as the file system that created it says.
class FaultInjectingFileSystem::File final : public WritableFile {
public:
  File(FaultInjectingFileSystem& owner, std::unique_ptr<WritableFile> real, std::filesystem::path path)
      : owner_(owner), real_(std::move(real)), path_(std::move(path)) {}
  ~File() override {
    try {
      close();
    } catch (const FileSystemError&) {
    }
  }

  void write(std::string_view bytes) override {
    if (const int error = owner_.countCall(Step::write)) {
      throw FileSystemError("write", path_, error);
    }
    real_->write(bytes);
  }

  void sync() override {
    if (const int error = owner_.countCall(Step::syncFile)) {
      throw FileSystemError("fsync", path_, error);
    }
    if (!owner_.skipSyncs_) {
      real_->sync();
    }
  }

  void close() override {
    if (closed_) {
      return;
    }
    closed_ = true;
    const int error = owner_.countCall(Step::close);
    real_->close();
    if (error != 0) {
      throw FileSystemError("close", path_, error);
    }
  }

private:
  FaultInjectingFileSystem& owner_;
  std::unique_ptr<WritableFile> real_;
  std::filesystem::path path_;
  bool closed_ = false;
};

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
  if (step != Step::close && step != Step::lock && step != Step::read) {
    if (const int error = countChange()) {
      ++counts_[index(step)];
      return error;
    }
  }
  const int call = ++counts_[index(step)];
  const auto fault = faults_.find({step, call});
  return fault != faults_.end() ? fault->second : 0;
}

std::unique_ptr<WritableFile> FaultInjectingFileSystem::createExclusive(const std::filesystem::path& path,
                                                                        std::filesystem::perms permissions) {
  createRequests_.push_back(path);
  if (const int error = countCall(Step::create)) {
    throw FileSystemError("create", path, error);
  }
  return std::make_unique<File>(*this, real_.createExclusive(path, permissions), path);
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
  if (const int error = countCall(Step::read)) {
    throw FileSystemError("read", path, error);
  }
  return real_.readFile(path);
}

void FaultInjectingFileSystem::createDirectories(const std::filesystem::path& path,
                                                 std::filesystem::perms permissions) {
  real_.createDirectories(path, permissions);
}

bool FaultInjectingFileSystem::exists(const std::filesystem::path& path) {
  return real_.exists(path);
}

std::unique_ptr<FileLock> FaultInjectingFileSystem::lockExclusive(const std::filesystem::path& lockFile,
                                                                  const FileLock::Wait& wait) {
  if (const int error = countCall(Step::lock)) {
    throw FileSystemError("flock", lockFile, error);
  }
  return real_.lockExclusive(lockFile, wait);
}

} // namespace vantrel::testing
