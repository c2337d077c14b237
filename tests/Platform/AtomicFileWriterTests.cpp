#include "VantrelCore/Platform/AtomicFileWriter.hpp"
#include "VantrelCore/Platform/AtomicWriteError.hpp"
#include "tests/Support/FaultInjectingFileSystem.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace vantrel {
namespace {

using Step = testing::FaultInjectingFileSystem::Step;
namespace fs = std::filesystem;

class AtomicFileWriterTest : public ::testing::Test {
protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "vantrel-atomic-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    target_ = folder_ / "state.json";
  }
  void TearDown() override { fs::remove_all(folder_); }

  static std::string contentOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
  }
  static void put(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
  }
  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path folder_;
  fs::path target_;
  testing::FaultInjectingFileSystem fileSystem_;
  AtomicFileWriter writer_{fileSystem_};
};

TEST_F(AtomicFileWriterTest, WritesAFreshPrivateFileThroughANamedTempFile) {
  writer_.writeData(std::string("new\0content", 11), target_);
  EXPECT_EQ(contentOf(target_), std::string("new\0content", 11));
  EXPECT_EQ(fs::status(target_).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(entries(), std::vector<std::string>{"state.json"});

  ASSERT_EQ(fileSystem_.createRequests().size(), 1u);
  const fs::path temp = fileSystem_.createRequests()[0];
  EXPECT_EQ(temp.parent_path(), folder_);
  EXPECT_TRUE(std::regex_match(
      temp.filename().string(),
      std::regex("state\\.json\\." + std::to_string(::getpid()) + "-[0-9]+\\.vantrel\\.tmp")));
  EXPECT_TRUE(AtomicFileWriter::isOurTempFile(temp));
  for (const Step step :
       {Step::create, Step::write, Step::syncFile, Step::close, Step::rename, Step::syncDirectory}) {
    EXPECT_EQ(fileSystem_.callCount(step), 1);
  }
}

TEST_F(AtomicFileWriterTest, AFailureAtAnyStepLeavesTheOldFileAndNoTempFile) {
  struct Case {
    Step step;
    int errorNumber;
    std::string underlying; // TEMP, TARGET and FOLDER stand for the paths
    std::string contentAfter;
  };
  const Case cases[] = {
      {Step::create, ENOSPC, "create TEMP: No space left on device", "old"},
      {Step::write, ENOSPC, "write TEMP: No space left on device", "old"},
      {Step::syncFile, EIO, "fsync TEMP: Input/output error", "old"},
      {Step::close, EIO, "close TEMP: Input/output error", "old"},
      {Step::rename, EXDEV, "rename TEMP -> TARGET: Invalid cross-device link", "old"},
      // The rename already happened: the new content is in place, only its durability is unknown.
      {Step::syncDirectory, EIO, "fsync FOLDER: Input/output error", "new"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.underlying);
    put(target_, "old");
    testing::FaultInjectingFileSystem fileSystem;
    fileSystem.failCall(testCase.step, 1, testCase.errorNumber);
    try {
      AtomicFileWriter(fileSystem).writeData("new", target_);
      ADD_FAILURE() << "the write succeeded";
    } catch (const AtomicWriteError& error) {
      ASSERT_EQ(fileSystem.createRequests().size(), 1u);
      std::string underlying = testCase.underlying;
      underlying =
          std::regex_replace(underlying, std::regex("TEMP"), fileSystem.createRequests()[0].string());
      underlying = std::regex_replace(underlying, std::regex("TARGET"), target_.string());
      underlying = std::regex_replace(underlying, std::regex("FOLDER"), folder_.string());
      EXPECT_EQ(std::string(error.what()), "atomic write to " + target_.string() + " failed: " + underlying);
      EXPECT_EQ(error.kind(), AtomicWriteError::Kind::writeFailed);
      EXPECT_EQ(error.targetPath(), target_);
      EXPECT_EQ(error.underlyingCode().value(), testCase.errorNumber);
    }
    EXPECT_EQ(contentOf(target_), testCase.contentAfter);
    EXPECT_EQ(entries(), std::vector<std::string>{"state.json"});
    // A failed fsync is final: it is never called again.
    EXPECT_LE(fileSystem.callCount(Step::syncFile), 1);
  }
}

TEST_F(AtomicFileWriterTest, TriesAnotherTempNameWhenOneIsTaken) {
  fileSystem_.failCall(Step::create, 1, EEXIST);
  writer_.writeData("new", target_);
  EXPECT_EQ(contentOf(target_), "new");
  ASSERT_EQ(fileSystem_.createRequests().size(), 2u);
  EXPECT_NE(fileSystem_.createRequests()[0], fileSystem_.createRequests()[1]);
  EXPECT_EQ(entries(), std::vector<std::string>{"state.json"});
}

TEST_F(AtomicFileWriterTest, RefusesAMissingFolder) {
  const fs::path target = folder_ / "missing" / "state.json";
  try {
    writer_.writeData("new", target);
    ADD_FAILURE() << "the write succeeded";
  } catch (const AtomicWriteError& error) {
    EXPECT_EQ(std::string(error.what()), "atomic write to " + target.string() + " failed: create " +
                                             fileSystem_.createRequests().at(0).string() +
                                             ": No such file or directory");
  }
  EXPECT_FALSE(fs::exists(folder_ / "missing"));
}

TEST_F(AtomicFileWriterTest, ReplacesASymlinkItselfNotWhatItPointsTo) {
  put(folder_ / "real.json", "old");
  fs::create_symlink("real.json", target_);
  writer_.writeData("new", target_);
  EXPECT_FALSE(fs::is_symlink(target_));
  EXPECT_EQ(contentOf(target_), "new");
  EXPECT_EQ(contentOf(folder_ / "real.json"), "old");
}

TEST_F(AtomicFileWriterTest, WritesOnlyWellFormedUTF8) {
  struct Case {
    std::string text;
    bool valid;
  };
  const Case cases[] = {
      {"plain ASCII", true},
      {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", true},  // é € 😀
      {"\xED\x9F\xBF \xEE\x80\x80 \xF4\x8F\xBF\xBF", true}, // U+D7FF U+E000 U+10FFFF
      {std::string("\0", 1), true},                         // U+0000 in its one-byte form
      {"\xC0\x80", false},                                  // overlong U+0000
      {"\xC1\xBF", false},                                  // overlong U+007F
      {"\xE0\x9F\xBF", false},                              // overlong U+07FF
      {"\xF0\x8F\xBF\xBF", false},                          // overlong U+FFFF
      {"\xED\xA0\x80", false},                              // surrogate U+D800
      {"\xED\xBF\xBF", false},                              // surrogate U+DFFF
      {"\xF4\x90\x80\x80", false},                          // U+110000
      {"\xF5\x80\x80\x80", false},                          // lead byte past U+10FFFF
      {"\xFF", false},
      {"\x80 lone continuation", false},
      {"cut \xC3", false},
      {"cut \xE2\x82", false},
      {"cut \xF0\x9F\x98", false},
      {"\xC3\x41", false}, // continuation missing
      {"\xE2\x28\xA1", false},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(::testing::PrintToString(testCase.text));
    put(target_, "old");
    testing::FaultInjectingFileSystem fileSystem;
    if (testCase.valid) {
      AtomicFileWriter(fileSystem).writeString(testCase.text, target_);
      EXPECT_EQ(contentOf(target_), testCase.text);
      continue;
    }
    try {
      AtomicFileWriter(fileSystem).writeString(testCase.text, target_);
      ADD_FAILURE() << "the write succeeded";
    } catch (const AtomicWriteError& error) {
      EXPECT_EQ(std::string(error.what()), "string content could not be encoded as UTF-8");
      EXPECT_EQ(error.kind(), AtomicWriteError::Kind::encodingFailed);
    }
    EXPECT_EQ(contentOf(target_), "old");
    EXPECT_EQ(fileSystem.callCount(Step::create), 0);
  }
}

TEST(AtomicFileWriter, RecognisesItsTempFiles) {
  const std::pair<const char*, bool> cases[] = {
      {"/data/state.json.412-7.vantrel.tmp", true},
      {"state.json.vantrel.tmp", true},
      {".vantrel.tmp", true},
      {"/data/.vantrel.tmp/state.json", true},
      {"/data/state.json", false},
      {"/data/state.vantrel.tmp.json", false},
      {"/data/x.vantrel.tmp/state.json", false},
      {"/data/.vantrel.tmpx/state.json", false},
      {"/data/state.json.vantrel.TMP", false},
  };
  for (const auto& [path, expected] : cases) {
    EXPECT_EQ(AtomicFileWriter::isOurTempFile(path), expected) << path;
  }
}

} // namespace
} // namespace vantrel
