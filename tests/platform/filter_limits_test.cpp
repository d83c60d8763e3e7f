// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>

#include "filter_support.h"
#include "platform/host/filter/concrete_set.h"
#include "platform/host/filter/item_filter.h"
#include "platform/host/filter/syntax_error.h"

namespace {

using filter::kMaxAlternatives;
using filter::kMaxBytes;
using filter::kMaxOpenBrackets;
using test::convertContent;
using test::convertTopic;

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  for (; count > 0; --count) {
    all += text;
  }
  return all;
}

TEST(FilterLimits, ATopicExpressionHasUpToAThousandAndTwentyFourAlternatives) {
  const std::string most = "tns1:Last" + repeated("|tns1:A", kMaxAlternatives - 1);
  EXPECT_EQ(test::topicVerdict(most, "Last"), "yes");
  EXPECT_EQ(test::topicVerdict(most, "B"), "no");
  EXPECT_EQ(convertTopic(most + "|tns1:B").error,
            "topic expression, character " + std::to_string(most.size() + 2) +
                ": expected at most 1024 alternatives, found one more");
}

TEST(FilterLimits, AnExpressionHasUpTo65536Bytes) {
  const std::string path = "tns1:" + std::string(kMaxBytes - 5, 'a');
  EXPECT_EQ(test::topicVerdict(path, path), "yes");
  EXPECT_EQ(convertTopic(path + " ").error,
            "topic expression, character 65537: expected the end within 65536 bytes, "
            "found a text of 65537");
  const std::string content = "boolean(//SimpleItem[@Name='x'])";
  EXPECT_EQ(convertContent(std::string(kMaxBytes - content.size(), ' ') + content).error, "");
  EXPECT_EQ(convertContent(std::string(kMaxBytes - content.size() + 1, ' ') + content).error,
            "message content, character 65537: expected the end within 65536 bytes, "
            "found a text of 65537");
}

TEST(FilterLimits, TheByteLimitCountsBytesAndItsErrorCharacters) {
  const std::string name = repeated("\u00e4", (kMaxBytes - 6) / 2);
  EXPECT_EQ(test::topicVerdict("tns1:" + name + "a", name + "a"), "yes");
  EXPECT_EQ(convertTopic("tns1:" + name + "\u00e4").error,
            "topic expression, character " + std::to_string((kMaxBytes - 6) / 2 + 6) +
                ": expected the end within 65536 bytes, found a text of 65537");
}

TEST(FilterLimits, OfATextThatIsTooLongOnlyTheCharacterThatTheLimitCutsIsNotAWrongOne) {
  const std::string path = "tns1:" + std::string(kMaxBytes - 5, 'a');
  const std::string tooLong = "expected the end within 65536 bytes, found a text of 65540";
  const auto errorWith = [&](const std::string& wrong, std::size_t at) {
    return convertTopic((path + "aaaa").replace(at, wrong.size(), wrong)).error;
  };
  // The last four bytes within the limit have room for every character.
  EXPECT_EQ(errorWith("\xFF", kMaxBytes - 4),
            "topic expression, character 65533: expected valid UTF-8, found the byte 0xFF");
  EXPECT_EQ(errorWith("\xF0\x9F\x98\x80", kMaxBytes - 3),
            "topic expression, character 65534: " + tooLong);
  EXPECT_EQ(errorWith("\xF0\x9F\x98\x80", kMaxBytes - 4),
            "topic expression, character 65534: " + tooLong);
}

TEST(FilterLimits, SixtyFourBracketsMayBeOpenAtOnce) {
  const std::string core = "boolean(//SimpleItem[@Name='x'])";  // two of them
  const auto wrapped = [](const std::string& open, const std::string& inner, std::size_t count) {
    return repeated(open, count) + inner + repeated(")", count);
  };
  const std::size_t most = kMaxOpenBrackets - 2;
  EXPECT_EQ(test::contentVerdict(wrapped("(", core, most), R"({"Data":{"x":1}})"), "yes");
  EXPECT_EQ(test::contentVerdict(wrapped("not(", core, most), R"({"Data":{"x":1}})"), "yes");
  EXPECT_EQ(convertContent(wrapped("(", core, most + 1)).error,
            "message content, character 84: expected at most 64 brackets open at once, "
            "found one more");
  EXPECT_EQ(convertContent(wrapped("not(", core, 30'000 / 4)).error,
            "message content, character 260: expected at most 64 brackets open at once, "
            "found one more");
}

TEST(FilterLimits, BracketsInsideABracketCountToo) {
  const auto nested = [](std::size_t count) {
    return "boolean(//SimpleItem[" + repeated("(", count) + "@Name='x'" + repeated(")", count) +
           "])";
  };
  EXPECT_EQ(convertContent(nested(kMaxOpenBrackets - 2)).error, "");
  EXPECT_EQ(convertContent(nested(kMaxOpenBrackets - 1)).error,
            "message content, character 84: expected at most 64 brackets open at once, "
            "found one more");
}

TEST(FilterLimits, ClosedBracketsDoNotCount) {
  const std::string one = "(boolean(//SimpleItem[(@Name='x')]))";
  EXPECT_EQ(convertContent(one + repeated(" or " + one, 1000)).error, "");
}

TEST(FilterLimits, LongChainsOfConditionsAreDecidedRight) {
  std::string bracket = "@Name='0'";
  std::string whole = "boolean(//SimpleItem[@Name='0'])";
  for (int i = 1; i < 1500; ++i) {
    bracket += " or @Name='" + std::to_string(i) + "'";
    whole += " and boolean(//SimpleItem[@Name='0'])";
  }
  EXPECT_EQ(
      test::contentVerdict("boolean(//SimpleItem[" + bracket + "])", R"({"Data":{"1499":1}})"),
      "yes");
  EXPECT_EQ(
      test::contentVerdict("boolean(//SimpleItem[" + bracket + "])", R"({"Data":{"1500":1}})"),
      "no");
  EXPECT_EQ(test::contentVerdict(whole, R"({"Data":{"0":1}})"), "yes");
  EXPECT_EQ(
      test::contentVerdict(whole + " and boolean(//SimpleItem[@Name='1'])", R"({"Data":{"0":1}})"),
      "no");
}

TEST(FilterLimits, ATopicMayBeAsDeepAsItsTextIsLong) {
  const std::string deep = "a" + repeated("/a", 32'000);
  EXPECT_EQ(test::topicVerdict(deep + "//.", deep + "/b"), "yes");
  EXPECT_EQ(test::topicVerdict(deep, "a"), "no");
}

}  // namespace
