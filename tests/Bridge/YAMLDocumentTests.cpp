#include "VantrelCore/Bridge/YAMLDocument.hpp"
#include "VantrelCore/Bridge/YAMLParseError.hpp"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <sys/mman.h>

namespace vantrel {
namespace {

std::string refusal(std::string_view text) {
  try {
    YAMLDocument::parse(text, "t.yaml");
  } catch (const YAMLParseError& error) {
    return error.what();
  }
  return "accepted";
}

std::string repeated(std::string_view piece, std::size_t count) {
  std::string text;
  for (std::size_t index = 0; index < count; ++index) {
    text += piece;
  }
  return text;
}

/// Each anchor's list names the one before ten times: read naively, a billion "lol"s.
std::string billionLaughs() {
  std::string text = "a0: &a0 [" + repeated("lol, ", 9) + "lol]\n";
  for (int level = 1; level < 10; ++level) {
    const auto previous = "*a" + std::to_string(level - 1);
    text += "a" + std::to_string(level) + ": &a" + std::to_string(level) + " [" +
            repeated(previous + ", ", 9) + previous + "]\n";
  }
  return text;
}

/// Block mappings `depth` deep, one level per line.
std::string nestedBlockMappings(std::size_t depth) {
  std::string text;
  for (std::size_t level = 0; level < depth; ++level) {
    text += std::string(level, ' ') + "k:\n";
  }
  return text;
}

std::string paddedTo(std::size_t size) {
  std::string text = "a: 1\n#";
  return text + std::string(size - text.size(), 'x');
}

TEST(YAMLDocument, RefusesHostileFilesNamingTheReasonAndTheLine) {
  std::string manyKeys;
  for (int key = 0; key < 40; ++key) {
    manyKeys += "k" + std::to_string(key) + ": 1\n";
  }
  const struct {
    const char* name;
    std::string text;
    std::string expected;
  } cases[] = {
      {"billion laughs", billionLaughs(), "t.yaml:1: anchor '&a0' is not allowed"},
      {"alias", "a: 1\nb: *x\n", "t.yaml:2: alias '*x' is not allowed"},
      {"anchor without alias", "a: 1\nb: &x 2\n", "t.yaml:2: anchor '&x' is not allowed"},
      {"anchor on a mapping", "a: &m\n  b: 1\n", "t.yaml:1: anchor '&m' is not allowed"},
      {"10,000 deep [", repeated("[", 10000) + repeated("]", 10000),
       "t.yaml:1: lists and mappings nest more than 64 levels deep here"},
      {"10,000 deep {", repeated("{a: ", 10000) + "1" + repeated("}", 10000),
       "t.yaml:1: lists and mappings nest more than 64 levels deep here"},
      {"10,000 deep block lists", repeated("- ", 10000) + "x\n",
       "t.yaml:1: lists and mappings nest more than 64 levels deep here"},
      {"5,000 deep block mappings", nestedBlockMappings(5000),
       "t.yaml:65: lists and mappings nest more than 64 levels deep here"},
      {"65 deep", repeated("[", 65) + repeated("]", 65),
       "t.yaml:1: lists and mappings nest more than 64 levels deep here"},
      {"tab as indentation", "a:\n\tb: 1\n",
       "t.yaml:2: found character that cannot start any token (while scanning for the next token)"},
      {"NUL", std::string("a: 1\nb: x\0y\n", 12),
       "t.yaml:2: U+0000 at byte 9 is a character YAML does not allow"},
      {"DEL", "a: \x7F\n", "t.yaml:1: U+007F at byte 3 is a character YAML does not allow"},
      {"C1 control", "a: \xC2\x9B\n", "t.yaml:1: U+009B at byte 3 is a character YAML does not allow"},
      {"U+FFFF", "a: \xEF\xBF\xBF\n", "t.yaml:1: U+FFFF at byte 3 is a character YAML does not allow"},
      {"overlong", "a: 1\r\nb: \xC0\xAF\n", "t.yaml:2: byte 9 (0xC0) is not UTF-8"},
      {"cut off", "a: 1\rb: \xE2\x82", "t.yaml:2: byte 8 (0xE2) is not UTF-8"},
      {"lone continuation byte", "\x80: 1\n", "t.yaml:1: byte 0 (0x80) is not UTF-8"},
      {"a million and one nodes", repeated("- a\n", YAMLDocument::maxNodes),
       "t.yaml:1000000: the file holds more than 1000000 values, lists and mappings"},
      {"one byte over 16 MiB", paddedTo(YAMLDocument::maxBytes + 1),
       "t.yaml: the file has 16777217 bytes, more than the 16777216 a bridge file may have"},
      {"repeated key", "a: 1\nb: 2\na: 3\n",
       "t.yaml:3: key 'a' is repeated: it is on lines 1 and 3 of one mapping"},
      {"repeated key quoted once", "m:\n  'a': 1\n  a:\n",
       "t.yaml:3: key 'a' is repeated: it is on lines 2 and 3 of one mapping"},
      {"repeated key in a big mapping", manyKeys + "k7: 2\n",
       "t.yaml:41: key 'k7' is repeated: it is on lines 8 and 41 of one mapping"},
      {"list as key", "? [a]\n: 1\n", "t.yaml:1: a key must be a text, not a list"},
      {"mapping as key", "{{a: 1}: 2}", "t.yaml:1: a key must be a text, not a mapping"},
      {"two documents", "a: 1\n---\nb: 2\n",
       "t.yaml:2: a second document starts here, but a bridge file holds one"},
      {"standard tag", "a: !!binary aGk=\n", "t.yaml:1: tag '!!binary' is not allowed"},
      {"custom tag", "a:\n  - !custom {b: 1}\n", "t.yaml:2: tag '!custom' is not allowed"},
      {"unclosed list", "a: [1, 2\nb: 3\n",
       "t.yaml:2: did not find expected ',' or ']' (while parsing a flow sequence that started on line 1)"},
      {"control character shown escaped", "\"\\e[2J\": 1\n\"\\e[2J\": 2\n",
       "t.yaml:2: key '\\x1B[2J' is repeated: it is on lines 1 and 2 of one mapping"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    EXPECT_EQ(refusal(test.text), test.expected);
  }
}

TEST(YAMLDocument, RefusesAHundredMegabytesWithoutReadingThem) {
  // Untouched anonymous pages cost no memory; were they read, their NUL bytes would be refused instead.
  const std::size_t size = 100'000'000;
  void* pages = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  EXPECT_EQ(refusal(std::string_view(static_cast<const char*>(pages), size)),
            "t.yaml: the file has 100000000 bytes, more than the 16777216 a bridge file may have");
  munmap(pages, size);
}

TEST(YAMLDocument, TypedAccessRefusesNamingTheKeyAndTheLine) {
  const auto root = YAMLDocument::parse("title: Plan\ndone: yes\ncount: \"12\"\nhuge: 9223372036854775808\n"
                                        "tiny: -9223372036854775809\ntasks:\n  a: 1\nnotes: [x]\nempty:\n"
                                        "sign: +-5\nratio: 1.5\n",
                                        "t.yaml");
  const struct {
    std::function<void()> access;
    std::string expected;
  } cases[] = {
      {[&] { root.requiredText("missing"); }, "t.yaml:1: missing required key 'missing'"},
      {[&] { root.requiredText("empty"); }, "t.yaml:9: missing required key 'empty'"},
      {[&] { root.optionalText("notes"); }, "t.yaml:8: 'notes' must be a text, not a list"},
      {[&] { root.optionalBoolean("done"); }, "t.yaml:2: 'done' must be true or false, not 'yes'"},
      {[&] { root.optionalBoolean("tasks"); }, "t.yaml:7: 'tasks' must be true or false, not a mapping"},
      {[&] { root.optionalInteger("count"); },
       "t.yaml:3: 'count' must be a whole number without quotes, not the quoted text '12'"},
      {[&] { root.optionalInteger("huge"); },
       "t.yaml:4: 'huge' must be a whole number that fits in 64 bits, not '9223372036854775808'"},
      {[&] { root.optionalInteger("tiny"); },
       "t.yaml:5: 'tiny' must be a whole number that fits in 64 bits, not '-9223372036854775809'"},
      {[&] { root.optionalInteger("sign"); }, "t.yaml:10: 'sign' must be a whole number, not '+-5'"},
      {[&] { root.optionalInteger("ratio"); }, "t.yaml:11: 'ratio' must be a whole number, not '1.5'"},
      {[&] { root.listOf("tasks"); }, "t.yaml:7: 'tasks' must be a list, not a mapping"},
      {[&] { root.optionalMapping("title"); }, "t.yaml:1: 'title' must be a mapping, not 'Plan'"},
      {[&] { root.listOf("notes")[0].expectMapping("task"); }, "t.yaml:8: 'task' must be a mapping, not 'x'"},
      {[&] { root.find("notes")->requiredText("x"); }, "t.yaml:8: 'x' must be in a mapping, not a list"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.expected);
    try {
      test.access();
      ADD_FAILURE() << "accepted";
    } catch (const YAMLParseError& error) {
      EXPECT_EQ(error.what(), test.expected);
    }
  }
}

TEST(YAMLDocument, ReadsScalarsAsWrittenWithOnlyPlainTildeAndNothingAsNull) {
  const struct {
    std::string yaml;
    std::string text;
    bool plain;
    bool null;
  } cases[] = {
      {"v: \"null\"", "null", false, false},
      {"v: null", "null", true, false},
      {"v: ~", "~", true, true},
      {"v: '~'", "~", false, false},
      {"v:", "", true, true},
      {"v: \"\"", "", false, false},
      {"v: \"one\n  two\"", "one two", false, false},
      {R"(v: "\\ \" \x07 \u00e9")", "\\ \" \a \xC3\xA9", false, false},
      {"v: |-\n  one\n  two\n", "one\ntwo", false, false},
      {"v: 'it''s' # said", "it's", false, false},
      {"v: 12:30 and a#b", "12:30 and a#b", true, false},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.yaml);
    const auto root = YAMLDocument::parse(test.yaml, "t.yaml");
    const auto* value = root.find("v");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->text(), test.text);
    EXPECT_EQ(value->isPlain(), test.plain);
    EXPECT_EQ(value->isNull(), test.null);
    EXPECT_EQ(root.optionalText("v"), test.null ? std::nullopt : std::optional(test.text));
  }
}

TEST(YAMLDocument, ReadsBooleansInAnyCaseAndSignedIntegersToTheirLimits) {
  const auto root = YAMLDocument::parse("a: TRUE\nb: False\nc: \"true\"\nd: -42\ne: +7\nf: 007\n"
                                        "g: 9223372036854775807\nh: -9223372036854775808\n",
                                        "t.yaml");
  EXPECT_EQ(root.optionalBoolean("a"), true);
  EXPECT_EQ(root.optionalBoolean("b"), false);
  EXPECT_EQ(root.optionalBoolean("c"), true);
  EXPECT_EQ(root.optionalBoolean("absent"), std::nullopt);
  EXPECT_EQ(root.optionalInteger("d"), -42);
  EXPECT_EQ(root.optionalInteger("e"), 7);
  EXPECT_EQ(root.optionalInteger("f"), 7);
  EXPECT_EQ(root.optionalInteger("g"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(root.optionalInteger("h"), std::numeric_limits<std::int64_t>::min());
}

TEST(YAMLDocument, KeepsFileOrderAndLinesThroughCRLFAByteOrderMarkAndComments) {
  const auto root = YAMLDocument::parse("\xEF\xBB\xBF# head\r\nb: 1 # trailing\r\n# between\r\na:\r\n"
                                        "  - x # item\r\n  # inside\r\n  - {k: v}\r\n# tail\r\n",
                                        "work/p-1.yaml");
  ASSERT_EQ(root.members().size(), 2U);
  EXPECT_EQ(root.members()[0].first, "b");
  EXPECT_EQ(root.members()[1].first, "a");
  const auto& items = root.listOf("a");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].text(), "x");
  EXPECT_EQ(items[1].requiredText("k"), "v");
  EXPECT_EQ(items[1].line(), 7U);
  EXPECT_EQ(root.find("b")->line(), 2U);
  EXPECT_EQ(&items[1].fileLabel(), &root.fileLabel());
  EXPECT_EQ(root.fileLabel(), "work/p-1.yaml");
}

TEST(YAMLDocument, ReadsAnEmptiedFileAsAnEmptyMappingAndAcceptsTheLimits) {
  for (const std::string text : {"", "# only a comment\n\n", "---\n", "~\n"}) {
    const auto root = YAMLDocument::parse(text, "t.yaml");
    EXPECT_EQ(root.kind(), YAMLNode::Kind::mapping) << text;
    EXPECT_TRUE(root.members().empty()) << text;
  }
  EXPECT_EQ(YAMLDocument::parse(paddedTo(YAMLDocument::maxBytes), "t.yaml").optionalInteger("a"), 1);
  auto node = YAMLDocument::parse(repeated("[", 64) + "x" + repeated("]", 64), "t.yaml");
  for (std::size_t level = 1; level < 64; ++level) {
    ASSERT_EQ(node.items().size(), 1U);
    node = YAMLNode(node.items()[0]);
  }
  EXPECT_EQ(node.items()[0].text(), "x");
  EXPECT_EQ(YAMLDocument::parse(nestedBlockMappings(64), "t.yaml").kind(), YAMLNode::Kind::mapping);
}

// Sibling lists and mappings, small and big, are read with the same scratch space: none may see another's
// keys or items.
TEST(YAMLDocument, SiblingsOfAnySizeKeepTheirOwnChildren) {
  std::string keys;
  for (int key = 0; key < 100; ++key) {
    keys += "k" + std::to_string(key) + ": " + std::to_string(key) + ", ";
  }
  const auto root =
      YAMLDocument::parse("- {" + keys + "}\n- {" + keys + "}\n- {k0: x}\n- [a, b]\n", "t.yaml");
  ASSERT_EQ(root.items().size(), 4U);
  for (std::size_t index : {0U, 1U}) {
    ASSERT_EQ(root.items()[index].members().size(), 100U);
    EXPECT_EQ(root.items()[index].optionalInteger("k99"), 99);
  }
  EXPECT_EQ(root.items()[2].members().size(), 1U);
  EXPECT_EQ(root.items()[3].items().size(), 2U);
  EXPECT_EQ(root.items()[3].items()[1].line(), 4U);
}

} // namespace
} // namespace vantrel
