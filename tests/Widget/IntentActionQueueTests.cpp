#include "Linux/PosixFileSystem.hpp"
#include "VantrelCore/Platform/FixedClock.hpp"
#include "VantrelCore/Platform/RandomUUIDGenerator.hpp"
#include "VantrelCore/Widget/IntentActionQueue.hpp"
#include "VantrelCore/Widget/MarkTaskDoneIntent.hpp"
#include "tests/Support/CountingUUIDs.hpp"
#include "tests/Support/RecordingWidgetCenter.hpp"
#include "tests/Support/ScopedLogCapture.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel {
namespace {

class IntentActionQueueTest : public ::testing::Test {
protected:
  std::string fileText() const {
    std::stringstream text;
    text << std::ifstream(folder_.path() / "intent-actions.json").rdbuf();
    return text.str();
  }
  bool fileExists() const { return std::filesystem::exists(folder_.path() / "intent-actions.json"); }
  void writeFile(std::string_view text) { std::ofstream(folder_.path() / "intent-actions.json") << text; }

  testing::TemporaryFolder folder_;
  FixedClock clock_{Date{794559600.5}};
  testing::CountingUUIDs uuids_;
  IntentActionQueue queue_{folder_.path(), PosixFileSystem::shared(), clock_, uuids_};
};

TEST_F(IntentActionQueueTest, AppendsInTheFilesExactFormAndRemovesByID) {
  queue_.appendMarkDone("t-dig", true);
  queue_.appendMarkDone("t-dig", false);
  queue_.appendMarkDone("t-\"x\"", true);
  EXPECT_EQ(
      fileText(),
      R"([{"id":"UUID-1","kind":"markDone","taskRecordName":"t-dig","done":true,"createdAt":794559600.5},)"
      R"({"id":"UUID-2","kind":"markDone","taskRecordName":"t-dig","done":false,"createdAt":794559600.5},)"
      R"({"id":"UUID-3","kind":"markDone","taskRecordName":"t-\"x\"","done":true,"createdAt":794559600.5}])");
  const auto pending = queue_.pending();
  ASSERT_EQ(pending.size(), 3u);
  EXPECT_EQ(pending[1], (PendingIntentAction{"UUID-2", PendingIntentAction::Kind::markDone, "t-dig", false,
                                             Date{794559600.5}}));

  queue_.remove({"UUID-2", "UUID-9"});
  ASSERT_EQ(queue_.pending().size(), 2u);
  EXPECT_EQ(queue_.pending()[1].taskRecordName, "t-\"x\"");
  queue_.remove({"UUID-1", "UUID-3"});
  EXPECT_TRUE(queue_.pending().empty());
  EXPECT_FALSE(fileExists()) << "an empty queue is no file";
}

TEST_F(IntentActionQueueTest, AnUnreadableQueueIsEmptyAndTheNextAppendReplacesIt) {
  const char* unreadable[] = {
      "",
      "not json",
      R"({"id":"A"})",
      R"([{"id":"A","kind":"markUndone","taskRecordName":"t-1","done":true,"createdAt":1}])",
      R"([{"id":"A","kind":"markDone","taskRecordName":"t-1","done":"yes","createdAt":1}])",
      R"([{"id":"A","kind":"markDone","taskRecordName":"t-1","done":true}])",
      R"([{"id":"A","kind":"markDone","taskRecordName":"t-1","done":true,"createdAt":1},5])",
  };
  for (const auto* text : unreadable) {
    writeFile(text);
    EXPECT_TRUE(queue_.pending().empty()) << text;
    queue_.appendMarkDone("t-1", true);
    ASSERT_EQ(queue_.pending().size(), 1u) << text;
  }
}

TEST_F(IntentActionQueueTest, WithoutASharedFolderNothingIsRecorded) {
  IntentActionQueue nowhere(std::nullopt, PosixFileSystem::shared(), clock_, uuids_);
  nowhere.appendMarkDone("t-1", true);
  EXPECT_TRUE(nowhere.pending().empty());
  EXPECT_EQ(nowhere.fileURL(), std::nullopt);
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(IntentActionQueueTest, TheIntentRecordsReloadsAndTellsAndLogsAFailedWrite) {
  testing::RecordingWidgetCenter widgets;
  const MarkTaskDoneIntent undo{.task = {"t-dig", "Dig"}, .done = false};
  EXPECT_EQ(undo.perform(queue_, widgets), std::nullopt);
  ASSERT_EQ(queue_.pending().size(), 1u);
  EXPECT_FALSE(queue_.pending()[0].done);
  EXPECT_EQ(widgets.reloads, 1);

  testing::ScopedLogCapture log;
  IntentActionQueue gone(folder_.path() / "missing", PosixFileSystem::shared(), clock_, uuids_);
  const MarkTaskDoneIntent mark{.task = {"t-dig", "Dig"}, .done = true};
  const auto failure = mark.perform(gone, widgets).value_or("<recorded>");
  EXPECT_EQ(widgets.reloads, 2) << "the widgets reload even when the queue could not be written";
  ASSERT_EQ(log.messages().size(), 1u);
  EXPECT_EQ(log.messages()[0], "Recording intent action failed: " + failure);
  EXPECT_NE(failure.find((folder_.path() / "missing").string()), std::string::npos) << failure;

  IntentActionQueue nowhere(std::nullopt, PosixFileSystem::shared(), clock_, uuids_);
  EXPECT_EQ(mark.perform(nowhere, widgets), "the folder shared with the widget cannot be found");
}

// The widget's process appends while the planner's drains: the lock beside the queue keeps every action
// either drained or still queued, and no reader ever sees half a file.
TEST_F(IntentActionQueueTest, TwoProcessesAppendingAndDrainingLoseNothing) {
  constexpr int appends = 150;
  const pid_t widget = fork();
  if (widget == 0) {
    RandomUUIDGenerator uuids;
    IntentActionQueue queue(folder_.path(), PosixFileSystem::shared(), clock_, uuids);
    for (int index = 0; index < appends; ++index) {
      queue.appendMarkDone("t-" + std::to_string(index), true);
    }
    _exit(0);
  }
  std::set<std::string> drained;
  int status = 0;
  bool widgetDone = false;
  while (!widgetDone || !queue_.pending().empty()) {
    widgetDone = widgetDone || waitpid(widget, &status, WNOHANG) == widget;
    if (fileExists()) {
      const auto text = fileText();
      EXPECT_TRUE(text.empty() || !PendingIntentAction::decodeList(text).empty()) << text;
    }
    std::set<std::string> handled;
    for (const auto& action : queue_.pending()) {
      EXPECT_TRUE(drained.insert(action.taskRecordName).second) << action.taskRecordName << " drained twice";
      handled.insert(action.id);
    }
    queue_.remove(handled);
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(drained.size(), std::size_t(appends));
}

} // namespace
} // namespace vantrel
