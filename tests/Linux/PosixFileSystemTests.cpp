#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

class PosixFileSystemTest : public ::testing::Test {
protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "vantrel-posix-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  static unsigned permissionsOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
  }
  void createFile(const fs::path& path, std::string_view content) {
    const int fd = fileSystem_.createExclusive(path);
    fileSystem_.writeAll(fd, content);
    fileSystem_.closeFile(fd);
  }

  fs::path folder_;
  PosixFileSystem& fileSystem_ = PosixFileSystem::shared();
};

TEST_F(PosixFileSystemTest, WritesSyncsRenamesAndReadsBackAPrivateFile) {
  std::string content(3 * 1024 * 1024 + 17, '\0');
  for (std::size_t index = 0; index < content.size(); ++index) {
    content[index] = static_cast<char>(index * 31 % 251);
  }
  const auto temp = folder_ / "a.tmp";
  const int fd = fileSystem_.createExclusive(temp);
  fileSystem_.writeAll(fd, content);
  fileSystem_.syncFile(fd);
  fileSystem_.closeFile(fd);
  fileSystem_.rename(temp, folder_ / "a");
  fileSystem_.syncDirectory(folder_);

  EXPECT_EQ(fileSystem_.readFile(folder_ / "a"), content);
  EXPECT_EQ(permissionsOf(folder_ / "a"), 0600u);
  EXPECT_FALSE(fileSystem_.exists(temp));
  EXPECT_EQ(fileSystem_.readFile(folder_ / "missing"), std::nullopt);
  EXPECT_EQ(fileSystem_.readFile(folder_ / "a" / "below-a-file"), std::nullopt);
  EXPECT_EQ(fileSystem_.readFile(folder_ / "empty"), std::nullopt);
  createFile(folder_ / "empty", "");
  EXPECT_EQ(fileSystem_.readFile(folder_ / "empty"), "");
}

TEST_F(PosixFileSystemTest, ErrorsNameTheOperationAndThePath) {
  createFile(folder_ / "file", "x");
  const std::string file = (folder_ / "file").string();
  const std::string missing = (folder_ / "missing").string();
  struct Case {
    std::function<void()> call;
    std::string message;
    int errorNumber;
  };
  const Case cases[] = {
      {[&] { fileSystem_.createExclusive(file); }, "create " + file + ": File exists", EEXIST},
      {[&] { fileSystem_.readFile(folder_); }, "read " + folder_.string() + ": Is a directory", EISDIR},
      {[&] { fileSystem_.rename(missing, file); },
       "rename " + missing + " -> " + file + ": No such file or directory", ENOENT},
      {[&] { fileSystem_.syncDirectory(missing); }, "open " + missing + ": No such file or directory",
       ENOENT},
      {[&] { fileSystem_.createDirectories(folder_ / "file" / "sub"); },
       "mkdir " + file + ": Not a directory", ENOTDIR},
      {[&] { fileSystem_.removeFile(folder_); }, "unlink " + folder_.string() + ": Is a directory", EISDIR},
      {[&] { fileSystem_.writeAll(1000000, "x"); }, "write /proc/self/fd/1000000: Bad file descriptor",
       EBADF},
      {[&] { fileSystem_.syncFile(1000000); }, "fsync /proc/self/fd/1000000: Bad file descriptor", EBADF},
  };
  for (const auto& testCase : cases) {
    try {
      testCase.call();
      ADD_FAILURE() << "no error for: " << testCase.message;
    } catch (const FileSystemError& error) {
      EXPECT_EQ(std::string(error.what()), testCase.message);
      EXPECT_EQ(error.code().value(), testCase.errorNumber) << testCase.message;
    }
  }
}

TEST_F(PosixFileSystemTest, ForgetsTheFileOfAClosedDescriptor) {
  const auto path = folder_ / "closed-twice";
  const int fd = fileSystem_.createExclusive(path);
  fileSystem_.closeFile(fd);
  try {
    fileSystem_.closeFile(fd);
    ADD_FAILURE() << "closing twice succeeded";
  } catch (const FileSystemError& error) {
    EXPECT_EQ(std::string(error.what()),
              "close /proc/self/fd/" + std::to_string(fd) + ": Bad file descriptor");
  }
}

TEST_F(PosixFileSystemTest, CreatesNestedPrivateFoldersAndRemovesFiles) {
  const auto nested = folder_ / "one" / "two" / "three";
  fileSystem_.createDirectories(nested);
  fileSystem_.createDirectories(nested);
  fileSystem_.createDirectories(folder_ / "one" / "two" / "");
  EXPECT_EQ(permissionsOf(folder_ / "one"), 0700u);
  EXPECT_EQ(permissionsOf(nested), 0700u);

  createFile(nested / "f", "x");
  fs::create_symlink("nowhere", folder_ / "dangling");
  EXPECT_TRUE(fileSystem_.exists(nested));
  EXPECT_TRUE(fileSystem_.exists(nested / "f"));
  EXPECT_FALSE(fileSystem_.exists(nested / "g"));
  EXPECT_FALSE(fileSystem_.exists(nested / "f" / "g"));
  EXPECT_FALSE(fileSystem_.exists(folder_ / "dangling"));

  fileSystem_.removeFile(nested / "f");
  EXPECT_FALSE(fileSystem_.exists(nested / "f"));
  fileSystem_.removeFile(nested / "f");
}

} // namespace
} // namespace vantrel
