#include "VantrelCore/Sync/ConflictMerge.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <random>

namespace vantrel {
namespace {

const CloudRecordZoneID zone{"VantrelZone"};

using Fields = std::vector<std::pair<std::string, std::optional<CloudValue>>>;

CloudRecord task(const Fields& fields) {
  CloudRecord record("Task", CloudRecordID{"t-1", zone});
  for (const auto& [key, value] : fields) {
    if (value) {
      record.setValue(key, *value);
    }
  }
  record.clearChangedKeys();
  return record;
}

CloudReference reference(std::string name, CloudReference::Action action = CloudReference::Action::none) {
  return CloudReference{CloudRecordID{std::move(name), zone}, action};
}

std::string text(const CloudRecord& record, std::string_view key) {
  const auto* value = record.value(key);
  return value ? std::get<std::string>(*value) : "<absent>";
}

TEST(ConflictMerge, TheCasesAPersonMeets) {
  const auto milk = [](const char* title, std::optional<std::string> notes, std::int64_t sortIndex) {
    return Fields{{"title", std::string(title)}, {"notes", notes}, {"sortIndex", sortIndex}};
  };
  const auto ancestor = task(milk("Buy milk", "2 l", 1000));
  const struct {
    const char* name;
    Fields local;
    Fields server;
    std::vector<std::string> kept;
    std::vector<std::string> clashed;
    std::string title;
    std::string notes;
  } cases[] = {
      {"different fields both survive",
       milk("Buy oat milk", "2 l", 1000),
       milk("Buy milk", "3 l", 1000),
       {"title"},
       {},
       "Buy oat milk",
       "3 l"},
      {"the same field differently: the server wins",
       milk("Buy oat milk", "2 l", 1000),
       milk("Buy soy milk", "2 l", 1000),
       {},
       {"title"},
       "Buy soy milk",
       "2 l"},
      {"a removed value is a change",
       milk("Buy milk", std::nullopt, 1000),
       milk("Buy milk!", "2 l", 1000),
       {"notes"},
       {},
       "Buy milk!",
       "<absent>"},
      {"the order alone clashes silently",
       milk("Buy milk", "2 l", 500),
       milk("Buy milk", "2 l", 3000),
       {},
       {},
       "Buy milk",
       "2 l"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto result = ConflictMerge::merge(ancestor, task(c.local), task(c.server));
    EXPECT_EQ(result.kept, c.kept);
    EXPECT_EQ(result.clashed, c.clashed);
    EXPECT_EQ(text(result.merged, "title"), c.title);
    EXPECT_EQ(text(result.merged, "notes"), c.notes);
  }
}

TEST(ConflictMerge, ValuesAreEqualAsTheCodecReadsThem) {
  const CloudValue yes = true;
  const CloudValue one = std::int64_t{1};
  const CloudValue zero = std::int64_t{0};
  const CloudValue strong = reference("p-1", CloudReference::Action::deleteSelf);
  const CloudValue weak = reference("p-1");
  const CloudValue other = reference("p-2");
  const CloudValue title = std::string("1");
  EXPECT_TRUE(ConflictMerge::sameValue(nullptr, nullptr));
  EXPECT_FALSE(ConflictMerge::sameValue(&yes, nullptr));
  EXPECT_TRUE(ConflictMerge::sameValue(&yes, &one));
  EXPECT_FALSE(ConflictMerge::sameValue(&yes, &zero));
  EXPECT_TRUE(ConflictMerge::sameValue(&strong, &weak));
  EXPECT_FALSE(ConflictMerge::sameValue(&strong, &other));
  EXPECT_FALSE(ConflictMerge::sameValue(&title, &one));
}

// Random ancestor, local and server versions of a task, over plain fields, a value that is sometimes a
// bool and sometimes its number, and two coupled groups whose references vary in their action.
class RandomTask {
public:
  explicit RandomTask(std::uint32_t seed) : random_(seed) {}

  Fields fields() {
    Fields fields;
    fields.emplace_back("title",
                        pick<std::optional<CloudValue>>({std::string("a"), std::string("b"), std::nullopt}));
    fields.emplace_back("notes", pick<std::optional<CloudValue>>({std::string("x"), std::nullopt}));
    fields.emplace_back("done",
                        pick<std::optional<CloudValue>>({true, false, std::int64_t{1}, std::int64_t{0}}));
    fields.emplace_back("sortIndex",
                        pick<std::optional<CloudValue>>({std::int64_t{1000}, std::int64_t{2000}}));
    const auto home = pick<std::string>({"p-1", "p-2"});
    fields.emplace_back("homeRef", CloudValue(reference(home, pick({CloudReference::Action::none,
                                                                    CloudReference::Action::deleteSelf}))));
    fields.emplace_back("parentTaskRef", pick<std::optional<CloudValue>>({reference("t-9"), std::nullopt}));
    fields.emplace_back("date", pick<std::optional<CloudValue>>({Date{100}, Date{200}, std::nullopt}));
    fields.emplace_back("gapTime", pick<std::optional<CloudValue>>({std::string("09:00"), std::nullopt}));
    return fields;
  }

  /// A copy of `fields` with each changed now and then.
  Fields edited(const Fields& fields) {
    const auto fresh = this->fields();
    Fields result = fields;
    for (std::size_t index = 0; index < result.size(); ++index) {
      if (std::bernoulli_distribution(0.3)(random_)) {
        result[index] = fresh[index];
      }
    }
    return result;
  }

private:
  template <class T> T pick(std::initializer_list<T> options) {
    return *(options.begin() + std::uniform_int_distribution<std::size_t>(0, options.size() - 1)(random_));
  }

  std::mt19937 random_;
};

bool sameUnit(const std::vector<std::string_view>& unit, const CloudRecord& left, const CloudRecord& right) {
  for (const auto key : unit) {
    if (!ConflictMerge::sameValue(left.value(key), right.value(key))) {
      return false;
    }
  }
  return true;
}

TEST(ConflictMerge, PropertiesHoldOnRandomTriples) {
  const std::vector<std::vector<std::string_view>> units{
      {"title"}, {"notes"}, {"done"}, {"sortIndex"}, {"homeRef", "parentTaskRef"}, {"date", "gapTime"}};
  for (std::uint32_t seed = 1; seed <= 500; ++seed) {
    SCOPED_TRACE(seed);
    RandomTask random(seed);
    const auto ancestorFields = random.fields();
    const auto ancestor = task(ancestorFields);
    const auto local = task(random.edited(ancestorFields));
    const auto server = seed % 5 == 0 ? local : task(random.edited(ancestorFields));
    const auto result = ConflictMerge::merge(ancestor, local, server);

    EXPECT_EQ(result.merged.systemFields(), server.systemFields());
    for (const auto& unit : units) {
      const std::string first(unit.front());
      const bool localChanged = !sameUnit(unit, ancestor, local);
      const bool serverChanged = !sameUnit(unit, ancestor, server);
      const bool clashed = std::ranges::find(result.clashed, first) != result.clashed.end();
      const bool kept = std::ranges::find(result.kept, first) != result.kept.end();
      if (localChanged && !serverChanged) {
        EXPECT_TRUE(sameUnit(unit, result.merged, local)) << first << ": only this side changed it";
        EXPECT_TRUE(kept) << first;
      } else {
        EXPECT_TRUE(sameUnit(unit, result.merged, server)) << first << ": the server's values stand";
        EXPECT_FALSE(kept) << first;
      }
      EXPECT_EQ(clashed,
                localChanged && serverChanged && !sameUnit(unit, local, server) && first != "sortIndex")
          << first;
    }
    if (seed % 5 == 0) {
      EXPECT_TRUE(result.clashed.empty()) << "identical changes never clash";
    }
    const auto unchanged = ConflictMerge::merge(ancestor, ancestor, ancestor);
    EXPECT_EQ(unchanged.merged, ancestor) << "a record merged with itself stays as it is";
    EXPECT_TRUE(unchanged.kept.empty() && unchanged.clashed.empty());
  }
}

TEST(ConflictMerge, ACoupledGroupIsTakenWholeFromOneSide) {
  const auto ancestor = task({{"homeRef", reference("p-1")}, {"parentTaskRef", reference("t-9")}});
  // Here the subtask left its parent; there it moved to another project under the same parent.
  const auto local = task({{"homeRef", reference("p-1")}});
  const auto server = task({{"homeRef", reference("p-2")}, {"parentTaskRef", reference("t-9")}});
  const auto result = ConflictMerge::merge(ancestor, local, server);
  EXPECT_EQ(result.clashed, (std::vector<std::string>{"homeRef", "parentTaskRef"}));
  EXPECT_EQ(result.merged, server);

  const auto moved = task({{"homeRef", reference("p-3")}});
  const auto kept = ConflictMerge::merge(ancestor, moved, ancestor);
  EXPECT_EQ(kept.kept, (std::vector<std::string>{"homeRef", "parentTaskRef"}));
  EXPECT_EQ(kept.merged.value("parentTaskRef"), nullptr);
  EXPECT_EQ(kept.merged.changedKeys(), (std::vector<std::string>{"homeRef", "parentTaskRef"}));
}

} // namespace
} // namespace vantrel
