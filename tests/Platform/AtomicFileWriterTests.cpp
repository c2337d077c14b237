#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/AtomicWriteError.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace vantrel {
namespace {

using Step = testing::FaultInjectingFileSystem::Step;
namespace fs = std::filesystem;

class AtomicFileWriterTest : public ::testing::Test {
protected:
  void putTarget(const std::string& content) { std::ofstream(target_, std::ios::binary) << content; }
  std::string targetContent() { return fileSystem_.readFile(target_).value_or("<none>"); }
  /// Only the target: a temp file left behind would show up here.
  void expectOnlyTheTarget() const {
    const std::vector<fs::path> entries{fs::directory_iterator(folder_), fs::directory_iterator()};
    EXPECT_EQ(entries, std::vector<fs::path>{target_});
  }

  testing::TemporaryFolder temporary_;
  const fs::path folder_ = temporary_.path();
  const fs::path target_ = folder_ / "state.json";
  testing::FaultInjectingFileSystem fileSystem_;
  AtomicFileWriter writer_{fileSystem_};
};

TEST_F(AtomicFileWriterTest, WritesAPrivateFileThroughAFreshSyncedTempFileBesideIt) {
  // A crash may have left a temp file of the same name behind: another name is tried.
  fileSystem_.failCall(Step::create, 1, EEXIST);
  writer_.writeData(std::string("new\0content", 11), target_);
  EXPECT_EQ(targetContent(), std::string("new\0content", 11));
  EXPECT_EQ(fs::status(target_).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
  expectOnlyTheTarget();
  ASSERT_EQ(fileSystem_.createRequests().size(), 2u);
  const fs::path temp = fileSystem_.createRequests()[1];
  EXPECT_NE(fileSystem_.createRequests()[0], temp);
  EXPECT_EQ(temp.parent_path(), folder_);
  EXPECT_TRUE(AtomicFileWriter::isOurTempFile(temp));
  EXPECT_EQ(fileSystem_.callCount(Step::syncFile), 1);
  EXPECT_EQ(fileSystem_.callCount(Step::syncDirectory), 1);
}

TEST_F(AtomicFileWriterTest, WritesATargetWhoseNameIsAsLongAsNamesGo) {
  const fs::path longTarget = folder_ / std::string(255, 'n');
  writer_.writeData("long", longTarget);
  std::ifstream stream(longTarget);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "long");
}

TEST_F(AtomicFileWriterTest, AFailureAtAnyStepLeavesTheOldFileAndNoTempFile) {
  // TEMP stands for the temp file's path, which is only known once it has been asked for.
  const std::tuple<Step, int, std::string, std::string> cases[] = {
      {Step::create, ENOSPC, "create TEMP: No space left on device", "old"},
      {Step::write, ENOSPC, "write TEMP: No space left on device", "old"},
      {Step::syncFile, EIO, "fsync TEMP: Input/output error", "old"},
      {Step::close, EIO, "close TEMP: Input/output error", "old"},
      {Step::rename, EXDEV, "rename TEMP -> " + target_.string() + ": Invalid cross-device link", "old"},
      // The rename already happened: the new content is in place, only its durability is unknown.
      {Step::syncDirectory, EIO, "fsync " + folder_.string() + ": Input/output error", "new"},
  };
  for (const auto& [step, errorNumber, underlying, contentAfter] : cases) {
    SCOPED_TRACE(underlying);
    putTarget("old");
    testing::FaultInjectingFileSystem fileSystem;
    fileSystem.failCall(step, 1, errorNumber);
    try {
      AtomicFileWriter(fileSystem).writeData("new", target_);
      ADD_FAILURE() << "the write succeeded";
    } catch (const AtomicWriteError& error) {
      const std::string temp = fileSystem.createRequests().at(0).string();
      EXPECT_EQ(error.what(), "atomic write to " + target_.string() +
                                  " failed: " + std::regex_replace(underlying, std::regex("TEMP"), temp));
      EXPECT_EQ(error.kind(), AtomicWriteError::Kind::writeFailed);
      EXPECT_EQ(error.underlyingCode().value(), errorNumber);
    }
    EXPECT_EQ(targetContent(), contentAfter);
    expectOnlyTheTarget();
    // A failed fsync is final: it is never called again.
    EXPECT_LE(fileSystem.callCount(Step::syncFile), 1);
  }
}

// Three files in two folders: a failure at any step leaves each file whole, renamed ones new and the
// rest old, and no temp file anywhere.
TEST_F(AtomicFileWriterTest, ManyFilesAreReplacedWithOneSyncAndEachStaysWhole) {
  const fs::path other = folder_ / "other";
  fs::create_directory(other);
  const std::vector<fs::path> targets{folder_ / "a", folder_ / "b", other / "c"};
  const auto contents = [&] {
    std::string joined;
    for (const auto& target : targets) {
      joined += fileSystem_.readFile(target).value_or("-");
    }
    return joined;
  };
  const struct {
    Step step;
    int nth;
    std::string after;
  } cases[] = {{Step::create, 2, "ooo"},         {Step::write, 3, "ooo"},  {Step::close, 1, "ooo"},
               {Step::syncFileSystem, 2, "ooo"}, {Step::rename, 2, "noo"}, {Step::syncDirectory, 1, "nnn"},
               {Step::syncFile, 1, "nnn"}};
  for (const auto& [step, nth, after] : cases) {
    SCOPED_TRACE(int(step));
    for (const auto& target : targets) {
      std::ofstream(target) << "o";
    }
    testing::FaultInjectingFileSystem fileSystem;
    fileSystem.failCall(step, nth, EIO);
    const std::vector<AtomicFileWriter::File> files{{targets[0], "n"}, {targets[1], "n"}, {targets[2], "n"}};
    const bool failed = [&] {
      try {
        AtomicFileWriter(fileSystem).writeFiles(files);
        return false;
      } catch (const AtomicWriteError&) {
        return true;
      }
    }();
    EXPECT_EQ(failed, after != "nnn" || step == Step::syncDirectory);
    EXPECT_EQ(contents(), after);
    EXPECT_EQ(fileSystem.callCount(Step::syncFile), 0) << "no file is synced one by one";
    for (const auto& folder : {folder_, other}) {
      for (const auto& entry : fs::directory_iterator(folder)) {
        EXPECT_FALSE(AtomicFileWriter::isOurTempFile(entry.path())) << entry.path();
      }
    }
  }
}

TEST_F(AtomicFileWriterTest, NeitherCreatesAMissingFolderNorFollowsASymlink) {
  EXPECT_THROW(writer_.writeData("new", folder_ / "missing" / "state.json"), AtomicWriteError);
  EXPECT_FALSE(fs::exists(folder_ / "missing"));
  std::ofstream(folder_ / "real.json") << "old";
  fs::create_symlink("real.json", target_);
  writer_.writeData("new", target_);
  EXPECT_FALSE(fs::is_symlink(target_));
  EXPECT_EQ(targetContent(), "new");
  EXPECT_EQ(fileSystem_.readFile(folder_ / "real.json"), "old");
}

TEST_F(AtomicFileWriterTest, WritesOnlyWellFormedUTF8) {
  // é € 😀, the last code points before and after the surrogates, U+10FFFF and U+0000 in its one-byte form.
  const std::string valid[] = {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xED\x9F\xBF \xEE\x80\x80",
                               "\xF4\x8F\xBF\xBF", std::string("\0", 1)};
  for (const std::string& text : valid) {
    writer_.writeString(text, target_);
    EXPECT_EQ(targetContent(), text);
  }
  putTarget("old");
  // Overlong forms, a surrogate, beyond U+10FFFF, stray or missing continuation bytes, a cut-off sequence.
  for (const char* invalid :
       {"\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\x80", "\xC3\x41", "\xE2\x82\x28", "cut \xF0\x9F\x98"}) {
    try {
      writer_.writeString(invalid, target_);
      ADD_FAILURE() << "wrote " << ::testing::PrintToString(invalid);
    } catch (const AtomicWriteError& error) {
      EXPECT_STREQ(error.what(), "string content could not be encoded as UTF-8");
      EXPECT_EQ(error.kind(), AtomicWriteError::Kind::encodingFailed);
    }
  }
  EXPECT_EQ(targetContent(), "old");
  expectOnlyTheTarget();
}

TEST(AtomicFileWriter, RecognisesItsTempFiles) {
  const std::pair<const char*, bool> cases[] = {
      {"/data/state.json.412-7.vantrel.tmp", true}, {".vantrel.tmp", true},
      {"/data/.vantrel.tmp/state.json", true},      {"/data/state.vantrel.tmp.json", false},
      {"/data/x.vantrel.tmp/state.json", false},    {"/data/.vantrel.tmpx/state.json", false},
      {"/data/state.json.vantrel.TMP", false},      {".vantrel.tmp/state.json", true},
      {"data/.vantrel.tmp/state.json", true},       {"data/x.vantrel.tmp/state.json", false},
  };
  for (const auto& [path, ours] : cases) {
    EXPECT_EQ(AtomicFileWriter::isOurTempFile(path), ours) << path;
  }
}

// A crash leaves temp files behind; a cleanup removes only those: ours, regular, old enough that no
// writer can still be at work on them, and only in the folder it was given.
TEST_F(AtomicFileWriterTest, RemovesOnlyStaleTempFilesOfItsOwnFolder) {
  const auto stale = fs::file_time_type::clock::now() - std::chrono::hours(2);
  const auto make = [&](const fs::path& path, bool old) {
    std::ofstream(path) << "x";
    if (old) {
      fs::last_write_time(path, stale);
    }
  };
  make(folder_ / "state.json.41-1.vantrel.tmp", true);
  make(folder_ / "prefs.json.41-2.vantrel.tmp", true);
  make(folder_ / "state.json.97-1.vantrel.tmp", false); // another process is writing it now
  make(folder_ / "state.json", true);
  make(folder_ / "notes.vantrel.tmp.txt", true);
  fs::create_directory(folder_ / "inner.vantrel.tmp");
  make(folder_ / "inner.vantrel.tmp" / "a.json.41-3.vantrel.tmp", true);
  fs::last_write_time(folder_ / "inner.vantrel.tmp", stale);
  EXPECT_EQ(AtomicFileWriter::removeStaleTempFiles(folder_, std::chrono::minutes(10)), 2u);
  std::set<std::string> left;
  for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
    left.insert(entry.path().lexically_relative(folder_).string());
  }
  EXPECT_EQ(left, (std::set<std::string>{"state.json.97-1.vantrel.tmp", "state.json", "notes.vantrel.tmp.txt",
                                         "inner.vantrel.tmp", "inner.vantrel.tmp/a.json.41-3.vantrel.tmp"}));
  EXPECT_EQ(AtomicFileWriter::removeStaleTempFiles(folder_, std::chrono::minutes(10)), 0u);
  EXPECT_EQ(AtomicFileWriter::removeStaleTempFiles(folder_ / "missing", std::chrono::minutes(10)), 0u);
}

} // namespace
} // namespace vantrel
