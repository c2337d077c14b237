#include "VantrelCore/Bridge/BridgeFileError.hpp"

#include <gtest/gtest.h>
#include <unordered_set>

namespace vantrel {
namespace {

TEST(BridgeFileError, DescribesEachKindForPeopleAndCountsOnceInASet) {
  const auto parse = BridgeFileError::parseFailed("work/p-1.yaml", "work/p-1.yaml:3: a tab cannot indent");
  const auto unknown = BridgeFileError::unsupportedEdit(
      "notes/x.yaml", std::string(BridgeFileError::unknownFileLocationReason));
  const auto unreadable = BridgeFileError::readFailed("inbox.yaml", "Permission denied");
  EXPECT_EQ(parse.description(), "Couldn't parse the YAML: work/p-1.yaml:3: a tab cannot indent");
  EXPECT_EQ(unknown.description(),
            "Can't apply the edit to notes/x.yaml: Unknown file location. Bridge can't "
            "apply files outside the known layout.");
  EXPECT_EQ(unreadable.description(), "Couldn't read inbox.yaml: Permission denied");

  std::unordered_set<BridgeFileError> errors = {parse, unknown, unreadable};
  EXPECT_FALSE(
      errors.insert(BridgeFileError::readFailed(std::string("inbox.") + "yaml", "Permission denied")).second);
  for (const auto& other : {BridgeFileError::unsupportedEdit("inbox.yaml", "Permission denied"),
                            BridgeFileError::readFailed("inbox.yml", "Permission denied"),
                            BridgeFileError::readFailed("inbox.yaml", "permission denied")}) {
    EXPECT_TRUE(errors.insert(other).second) << other.description();
  }
}

} // namespace
} // namespace vantrel
