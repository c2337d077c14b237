#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Bridge/BridgeFolderDiff.hpp"
#include "VantrelCore/Bridge/BridgeHash.hpp"
#include "VantrelCore/Platform/FileSystemError.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel {
namespace {

namespace fs = std::filesystem;
using Step = testing::FaultInjectingFileSystem::Step;

class BridgeFolderDiffTest : public ::testing::Test {
protected:
  void put(const std::string& relative, const std::string& content) const {
    fs::create_directories((root_ / relative).parent_path());
    std::ofstream(root_ / relative, std::ios::binary) << content;
  }
  /// Writes the files as a checkout does, and answers the digests it keeps.
  std::map<std::string, std::string> checkout(const std::map<std::string, std::string>& files) const {
    std::map<std::string, std::string> hashes;
    for (const auto& [relative, content] : files) {
      put(relative, content);
      hashes[relative] = BridgeHash::sha256Hex(content);
    }
    return hashes;
  }
  BridgeFolderDiff diff(const std::map<std::string, std::string>& backup) {
    return bridgeDiffFolderAgainstBackup(fileSystem_, root_, backup);
  }
  void expectListingFails(const fs::path& folder, int errorNumber, const std::string& reason) {
    try {
      ADD_FAILURE() << "listed " << diff({}).extra.size() << " files";
    } catch (const FileSystemError& error) {
      EXPECT_EQ(error.path(), folder);
      EXPECT_EQ(error.code().value(), errorNumber);
      EXPECT_EQ(std::string(error.what()), "opendir " + folder.string() + ": " + reason);
    }
  }

  testing::TemporaryFolder temporary_;
  const fs::path root_ = temporary_.path() / "Planner";
  testing::FaultInjectingFileSystem fileSystem_;
};

TEST_F(BridgeFolderDiffTest, SortsTheBackedUpFilesByTheirBytesAndListsTheRestAsExtra) {
  const auto backup = checkout({{"areas.yaml", "areas:\n"},
                                {"inbox.yaml", "items: []\n"},
                                {"days/2026-03-07.yaml", "date: 2026-03-07\n"},
                                {"work/p-1.yaml", "title: Plan\n"},
                                {"work/_tasks.yaml", "tasks: []\n"},
                                {"home/p-3.yaml", "title: Paint\n"},
                                {"home/_tasks.yaml", "tasks: []\n"},
                                {"archive/home/p-2.yaml", "title: Old\n"}});
  put("work/p-1.yaml", "title: Plan it\n");
  // Saved again unedited: a new time, the same bytes.
  put("inbox.yaml", "items: []\n");
  fs::last_write_time(root_ / "inbox.yaml", fs::file_time_type::clock::now() + std::chrono::hours(1));
  fs::remove(root_ / "work/_tasks.yaml");
  fs::remove(root_ / "days/2026-03-07.yaml");
  put("days/2026-03-07.yaml/x", "now a folder");
  fs::remove(root_ / "home/_tasks.yaml");
  ASSERT_EQ(::mkfifo((root_ / "home/_tasks.yaml").c_str(), 0600), 0);
  fs::remove(root_ / "archive/home/p-2.yaml");
  fs::create_symlink("p-2.yaml", root_ / "archive/home/p-2.yaml");
  // A link to a file is read through, wherever the file is.
  std::ofstream(temporary_.path() / "outside.yaml") << "title: Paint\n";
  fs::remove(root_ / "home/p-3.yaml");
  fs::create_symlink(temporary_.path() / "outside.yaml", root_ / "home/p-3.yaml");
  put("work/p-new.yaml", "title: New\n");
  put("work/.vantrel/x.yaml", "only the top folder is the bridge's own");
  fs::create_symlink("nowhere.yaml", root_ / "dangling.yaml");
  // Left out: the metadata, temp files, and a folder reached through a link.
  put(".vantrel/backup/inbox.yaml", "items: []\n");
  put("inbox.yaml.12-3.vantrel.tmp", "items: [half");
  put("work/.vantrel.tmp/p-1.yaml", "title: Pl");
  fs::create_directories(temporary_.path() / "elsewhere/deep");
  fs::create_directory_symlink(temporary_.path() / "elsewhere", root_ / "linked");

  EXPECT_EQ(diff(backup), (BridgeFolderDiff{
                              .changed = {"work/p-1.yaml"},
                              .unchanged = {"areas.yaml", "home/p-3.yaml", "inbox.yaml"},
                              .missing = {"archive/home/p-2.yaml", "days/2026-03-07.yaml", "home/_tasks.yaml",
                                          "work/_tasks.yaml"},
                              .extra = {"dangling.yaml", "days/2026-03-07.yaml/x", "work/.vantrel/x.yaml",
                                        "work/p-new.yaml"},
                          }));
}

TEST_F(BridgeFolderDiffTest, AFileThatCannotBeReadIsMissing) {
  const auto backup = checkout({{"areas.yaml", "a"}, {"inbox.yaml", "b"}, {"work/p-1.yaml", "c"}});
  // Files are read in path order: the second read is inbox.yaml's.
  fileSystem_.failCall(Step::read, 2, EIO);
  EXPECT_EQ(diff(backup),
            (BridgeFolderDiff{.unchanged = {"areas.yaml", "work/p-1.yaml"}, .missing = {"inbox.yaml"}}));
  if (::geteuid() == 0) {
    return; // Permissions do not keep root from reading.
  }
  fs::permissions(root_ / "work/p-1.yaml", fs::perms::none);
  EXPECT_EQ(diff(backup),
            (BridgeFolderDiff{.unchanged = {"areas.yaml", "inbox.yaml"}, .missing = {"work/p-1.yaml"}}));
}

TEST_F(BridgeFolderDiffTest, AFolderThatCannotBeListedThrowsNamingIt) {
  expectListingFails(root_, ENOENT, "No such file or directory");
  std::ofstream(root_) << "a file";
  expectListingFails(root_, ENOTDIR, "Not a directory");
  if (::geteuid() == 0) {
    return; // Permissions do not keep root from listing.
  }
  fs::remove(root_);
  put("work/p-1.yaml", "x");
  fs::permissions(root_ / "work", fs::perms::none);
  expectListingFails(root_ / "work", EACCES, "Permission denied");
  fs::permissions(root_ / "work", fs::perms::owner_all);
}

// The diff above reads through the fault-injecting file system; this is the real one, which maps files.
TEST(BridgeHash, DigestsAreLowerCaseHexSHA256OfTheBytes) {
  EXPECT_EQ(BridgeHash::sha256Hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(BridgeHash::sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  const testing::TemporaryFolder folder;
  std::ofstream(folder.path() / "abc.yaml") << "abc";
  std::ofstream(folder.path() / "empty.yaml");
  fs::create_symlink("nowhere", folder.path() / "dangling.yaml");
  auto& fileSystem = PosixFileSystem::shared();
  EXPECT_EQ(BridgeHash::sha256HexOfFile(fileSystem, folder.path() / "abc.yaml"),
            BridgeHash::sha256Hex("abc"));
  EXPECT_EQ(BridgeHash::sha256HexOfFile(fileSystem, folder.path() / "empty.yaml"), BridgeHash::sha256Hex(""));
  EXPECT_EQ(BridgeHash::sha256HexOfFile(fileSystem, folder.path() / "dangling.yaml"), std::nullopt);
  EXPECT_EQ(BridgeHash::sha256HexOfFile(fileSystem, folder.path()), std::nullopt);
}

} // namespace
} // namespace vantrel
