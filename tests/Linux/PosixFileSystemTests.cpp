#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace vantrel {
namespace {

namespace fs = std::filesystem;

class PosixFileSystemTest : public ::testing::Test {
protected:
  testing::TemporaryFolder temporary_;
  const fs::path folder_ = temporary_.path();
  PosixFileSystem& fileSystem_ = PosixFileSystem::shared();
};

TEST_F(PosixFileSystemTest, WritesReadsAndRemovesPrivateFilesInNewFolders) {
  const auto nested = folder_ / "one" / "two";
  fileSystem_.createDirectories(nested);
  fileSystem_.createDirectories(nested / "");
  EXPECT_EQ(fs::status(folder_ / "one").permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(nested).permissions(), fs::perms::owner_all);
  // Several megabytes, so reading takes many calls.
  std::string content(3 * 1024 * 1024 + 17, '\0');
  for (std::size_t index = 0; index < content.size(); ++index) {
    content[index] = static_cast<char>(index * 31 % 251);
  }
  const auto file = fileSystem_.createExclusive(nested / "a.tmp");
  file->write(content);
  file->sync();
  file->close();
  fileSystem_.rename(nested / "a.tmp", nested / "a");
  fileSystem_.syncDirectory(nested);
  EXPECT_EQ(fileSystem_.readFile(nested / "a"), content);
  EXPECT_EQ(fs::status(nested / "a").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  // Missing is not empty.
  EXPECT_EQ(fileSystem_.readFile(nested / "missing"), std::nullopt);
  EXPECT_EQ(fileSystem_.readFile(nested / "a" / "below-a-file"), std::nullopt);
  EXPECT_FALSE(fileSystem_.exists(nested / "a" / "below-a-file"));
  fileSystem_.createExclusive(nested / "empty")->close();
  EXPECT_EQ(fileSystem_.readFile(nested / "empty"), "");
  EXPECT_TRUE(fileSystem_.exists(nested / "empty"));
  fileSystem_.removeFile(nested / "empty");
  fileSystem_.removeFile(nested / "empty");
  EXPECT_FALSE(fileSystem_.exists(nested / "empty"));
}

TEST_F(PosixFileSystemTest, ErrorsNameTheOperationAndThePath) {
  fileSystem_.createExclusive(folder_ / "file")->close();
  const std::string file = (folder_ / "file").string();
  const std::string missing = (folder_ / "missing").string();
  // Closing again does nothing, but a closed file refuses to be written, naming where it was created.
  const auto closed = fileSystem_.createExclusive(folder_ / "closed");
  closed->close();
  closed->close();
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[&] { closed->write("x"); }, "write " + (folder_ / "closed").string() + ": Bad file descriptor"},
      {[&] { fileSystem_.createExclusive(file); }, "create " + file + ": File exists"},
      {[&] { fileSystem_.readFile(folder_); }, "read " + folder_.string() + ": Is a directory"},
      {[&] { fileSystem_.rename(missing, file); },
       "rename " + missing + " -> " + file + ": No such file or directory"},
      {[&] { fileSystem_.syncDirectory(missing); }, "open " + missing + ": No such file or directory"},
      {[&] { fileSystem_.createDirectories(folder_ / "file" / "sub"); },
       "mkdir " + file + ": Not a directory"},
      {[&] { fileSystem_.removeFile(folder_); }, "unlink " + folder_.string() + ": Is a directory"},
  };
  for (const auto& [call, message] : cases) {
    try {
      call();
      ADD_FAILURE() << "no error for: " << message;
    } catch (const FileSystemError& error) {
      EXPECT_EQ(error.what(), message);
    }
  }
}

} // namespace
} // namespace vantrel
