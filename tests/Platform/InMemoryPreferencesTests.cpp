#include "VantrelCore/Platform/InMemoryPreferences.hpp"

#include <gtest/gtest.h>

namespace vantrel {
namespace {

TEST(InMemoryPreferencesTest, TypedReadsAnswerOnlyTheKindHeld) {
  const PreferenceValue values[] = {std::int64_t{5}, true, std::string("s"), std::vector<std::string>{"a"},
                                    PreferenceData{"d"}};
  InMemoryPreferences preferences;
  for (const auto& value : values) {
    SCOPED_TRACE(value.index());
    preferences.setValue("k", value);
    EXPECT_EQ(preferences.integer("k").has_value(), std::holds_alternative<std::int64_t>(value));
    EXPECT_EQ(preferences.boolean("k").has_value(), std::holds_alternative<bool>(value));
    EXPECT_EQ(preferences.string("k").has_value(), std::holds_alternative<std::string>(value));
    EXPECT_EQ(preferences.stringArray("k").has_value(),
              std::holds_alternative<std::vector<std::string>>(value));
    EXPECT_EQ(preferences.data("k").has_value(), std::holds_alternative<PreferenceData>(value));
    EXPECT_EQ(preferences.value("k"), value);
  }
  preferences.removeValue("k");
  preferences.removeValue("k");
  EXPECT_EQ(preferences.value("k"), std::nullopt);
  EXPECT_EQ(preferences.integer("k"), std::nullopt);
}

} // namespace
} // namespace vantrel
