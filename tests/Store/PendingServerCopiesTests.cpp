#include "VantrelCore/Store/PendingServerCopies.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

using Lookup = PendingServerCopies::Lookup;

// A refused command rolls back whatever it changed here, in any order and over a wipe; a command that
// succeeds closes the log and keeps its changes.
TEST(PendingServerCopies, ARolledBackChangeLeavesWhatWasThereAndAClosedLogKeepsIt) {
  for (const bool refused : {true, false}) {
    SCOPED_TRACE(refused ? "rolled back" : "kept");
    PendingServerCopies copies;
    copies.keepSystemFields("Task", "t-1", "before");
    copies.keepBaseRecord("t-1", "base before");
    copies.openRollbackLog();
    copies.keepSystemFields("Task", "t-1", "after");
    copies.keepBaseRecord("t-1", "base after");
    copies.keepBaseRecord("t-2", "base new");
    copies.forgetAllSystemFields();
    copies.keepSystemFields("Task", "t-2", "new");
    copies.forgetSystemFields("Task", "t-1");
    if (refused) {
      copies.rollBack();
    } else {
      copies.closeRollbackLog();
    }
    EXPECT_EQ(copies.systemFields("Task", "t-1"),
              refused ? Lookup(std::optional<std::string>("before")) : Lookup(std::optional<std::string>()));
    EXPECT_EQ(copies.systemFields("Task", "t-2"),
              refused ? Lookup() : Lookup(std::optional<std::string>("new")));
    EXPECT_EQ(copies.baseRecord("t-1"), refused ? "base before" : "base after");
    EXPECT_EQ(copies.baseRecord("t-2"), refused ? std::nullopt : std::optional<std::string>("base new"));
    EXPECT_EQ(copies.batch().wipeSystemFields, !refused);
  }
}

} // namespace
} // namespace vantrel
