// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "filter_support.h"

namespace {

using test::topicVerdict;

struct Match {
  const char* expression;
  const char* local_topic;
  const char* verdict;
};

void expectAll(const std::vector<Match>& matches) {
  for (const Match& match : matches) {
    EXPECT_EQ(topicVerdict(match.expression, match.local_topic), match.verdict)
        << match.expression << " on " << match.local_topic;
  }
}

struct Refusal {
  std::string expression;
  const char* error;
};

void expectRefused(const std::vector<Refusal>& refusals) {
  for (const Refusal& refusal : refusals) {
    EXPECT_EQ(test::convertTopic(refusal.expression).error,
              "topic expression, " + std::string(refusal.error))
        << refusal.expression;
  }
}

TEST(TopicExpression, APathNamesOneTopic) {
  expectAll({{"tns1:Device", "Device", "yes"},
             {"tns1:Device", "Device/Trigger", "no"},
             {"tns1:Device/Trigger", "Device/Trigger", "yes"},
             {"tns1:Device/Trigger", "Device", "no"},
             {"tns1:Device/Trigger", "Device/Trigger/Relay", "no"},
             {"tns1:Device/Trigger", "Device/Trigge", "no"},
             {"tns1:Device/Trigger", "Device/Triggers", "no"},
             {"tns1:Device/Trigger", "device/trigger", "no"},
             {"tns1:Device/Trigger", "Trigger/Device", "no"}});
}

TEST(TopicExpression, ASubtreeHoldsItsRootAndEverythingBelow) {
  expectAll({{"tns1:Device//.", "Device", "yes"},
             {"tns1:Device//.", "Device/Trigger", "yes"},
             {"tns1:Device//.", "Device/Trigger/a/b/c", "yes"},
             {"tns1:Device//.", "Device/acme:Lens", "yes"},
             {"tns1:Device//.", "Devices", "no"},
             {"tns1:Device//.", "DeviceX/Trigger", "no"},
             {"tns1:Device//.", "tnsovra:Device", "no"},
             {"tns1:Device/Trigger//.", "Device/Trigger/Relay", "yes"},
             {"tns1:Device/Trigger//.", "Device/Triggers/Relay", "no"},
             {"tns1:Device/Trigger//.", "Device", "no"}});
}

TEST(TopicExpression, BarsSeparateAlternatives) {
  expectAll({{"tns1:A|tns1:B", "A", "yes"},
             {"tns1:A|tns1:B", "B", "yes"},
             {"tns1:A|tns1:B", "C", "no"},
             {"tns1:A//.|tns1:B/C|tns1:D", "B/C", "yes"},
             {"tns1:A//.|tns1:B/C|tns1:D", "A/x", "yes"},
             {"tns1:A//.|tns1:B/C|tns1:D", "D/x", "no"},
             {"tns1:A|tns1:A|tns1:A", "A", "yes"},
             {"tns1:A//.|tns1:A/B", "A/B", "yes"}});
}

TEST(TopicExpression, WhiteSpaceAroundPathsCarriesNoMeaning) {
  expectAll({{" \t\r\ntns1:A\n", "A", "yes"},
             {" tns1:A \t|\r\n tns1:B ", "B", "yes"},
             {"tns1:A//. |tns1:B", "A/x", "yes"},
             {"tns1:A | tns1:B//. ", "B/x", "yes"}});
}

TEST(TopicExpression, ARootWithoutPrefixIsInTheOnvifNamespace) {
  expectAll({{"Device/Trigger", "Device/Trigger", "yes"},
             {"Device/Trigger", "tns1:Device/Trigger", "yes"},
             {"Device//.", "tnsovra:Device/Trigger", "no"},
             {"tnsovra:Device", "Device", "no"},
             {"tnsovra:Device", "tnsovra:Device", "yes"}});
}

TEST(TopicExpression, AChildWithItsRootsPrefixIsTheSameAsOneWithout) {
  expectAll({{"tns1:Device/tns1:Trigger", "Device/Trigger", "yes"},
             {"Device/tns1:Trigger", "Device/Trigger", "yes"},
             {"tns1:Device/Trigger", "tns1:Device/tns1:Trigger", "yes"},
             {"tnsovra:A/tnsovra:B", "tnsovra:A/B", "yes"},
             {"tnsovra:A/B", "tnsovra:A/tnsovra:B", "yes"},
             {"tns1:A/tns1:B/C//.", "A/B/tns1:C/D", "yes"}});
}

TEST(TopicExpression, AChildWithAnotherPrefixIsAnotherName) {
  expectAll({{"tns1:Device/tnsovra:Lens", "Device/tnsovra:Lens", "yes"},
             {"tns1:Device/tnsovra:Lens", "Device/Lens", "no"},
             {"tns1:Device/Lens", "Device/tnsovra:Lens", "no"},
             {"tnsovra:A/tns1:B", "tnsovra:A/tns1:B", "yes"},
             {"tnsovra:A/tns1:B", "tnsovra:A/B", "no"},
             {"tnsovra:A/B", "tnsovra:A/tns1:B", "no"}});
}

TEST(TopicExpression, NamesHaveTheCharactersThatXmlAllows) {
  expectAll({{"tns1:_a-b.c_1", "_a-b.c_1", "yes"},
             {"tns1:a.", "a.", "yes"},
             {"tns1:a.//.", "a./b", "yes"},
             {"tns1:\u00dcberwachung/\u6e29\u5ea6", "\u00dcberwachung/\u6e29\u5ea6", "yes"},
             {"tns1:a\u00b7b/e\u0301", "a\u00b7b/e\u0301", "yes"},
             {"tns1:\U00010000x", "\U00010000x", "yes"},
             {"tns1:and/or/not", "and/or/not", "yes"}});
}

TEST(TopicExpression, ThePrefixesAreTheOnesThatTheCallerHandsOver) {
  const test::FilterPtr filter(wse_filter_new());
  EXPECT_TRUE(wse_filter_add_topic_expression(
      filter.get(), "o", "v", "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet",
      "o:Device/v:Lens|v:X/v:Y/o:Z"));
  const test::Conversion conversion = test::convert(filter.get());
  ASSERT_TRUE(conversion.matcher) << conversion.error;
  EXPECT_TRUE(conversion.matcher->matchesTopic(model::topicFromLocal("Device/tnsovra:Lens")));
  EXPECT_TRUE(conversion.matcher->matchesTopic(model::topicFromLocal("tnsovra:X/Y/tns1:Z")));
  EXPECT_FALSE(wse_filter_add_topic_expression(
      filter.get(), "o", "v", "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet",
      "tns1:Device"));
  EXPECT_EQ(test::convert(filter.get()).error,
            "topic expression, character 1: expected the prefix \"o\" or \"v\", found \"tns1\"");
}

TEST(TopicExpression, RefusesWhatIsNoName) {
  expectRefused({{"", "character 1: expected a name, found the end"},
                 {"  ", "character 3: expected a name, found the end"},
                 {"1a", "character 1: expected a name, found \"1\""},
                 {"tns1:A/-b", "character 8: expected a name, found \"-\""},
                 {"tns1:A/.", "character 8: expected a name, found \".\""},
                 {"/tns1:A", "character 1: expected a name, found \"/\""},
                 {"//.", "character 1: expected a name, found \"/\""},
                 {"tns1:A/", "character 8: expected a name, found the end"},
                 {"tns1:A/ B", "character 8: expected a name, found \" \""},
                 {"*", "character 1: expected a name, found \"*\""},
                 {"tns1:A/*", "character 8: expected a name, found \"*\""},
                 {"tns1:A/\u00d7", "character 8: expected a name, found \"\u00d7\""},
                 {"tns1:\u00dc/\u0301", "character 8: expected a name, found \"\u0301\""},
                 {"\"tns1:A\"", "character 1: expected a name, found '\"'"}});
}

TEST(TopicExpression, RefusesEmptyAlternatives) {
  expectRefused({{"|", "character 1: expected a name, found \"|\""},
                 {"tns1:A|", "character 8: expected a name, found the end"},
                 {"tns1:A| ", "character 9: expected a name, found the end"},
                 {"|tns1:A", "character 1: expected a name, found \"|\""},
                 {"tns1:A||tns1:B", "character 8: expected a name, found \"|\""},
                 {"tns1:A | | tns1:B", "character 10: expected a name, found \"|\""}});
}

TEST(TopicExpression, RefusesADoubleSlashAnywhereButBeforeTheFinalDot) {
  expectRefused({{"tns1:A//", "character 9: expected \".\" after \"//\", found the end"},
                 {"tns1:A//B", "character 9: expected \".\" after \"//\", found \"B\""},
                 {"tns1:A//*", "character 9: expected \".\" after \"//\", found \"*\""},
                 {"tns1:A///.", "character 9: expected \".\" after \"//\", found \"/\""},
                 {"tns1:A// .", "character 9: expected \".\" after \"//\", found \" \""},
                 {"tns1:A//./B", "character 10: expected \"|\" or the end, found \"/\""},
                 {"tns1:A//.//.", "character 10: expected \"|\" or the end, found \"/\""},
                 {"tns1:A//.B", "character 10: expected \"|\" or the end, found \"B\""},
                 {"tns1:A//..", "character 10: expected \"|\" or the end, found \".\""},
                 {"tns1:A/ /.", "character 8: expected a name, found \" \""}});
}

TEST(TopicExpression, RefusesTextAfterAPath) {
  const std::string more = "expected \"/\", \"//.\", \"|\" or the end, found ";
  for (const char* rest : {"*", "+", "[", "(", ",", ";", "@", "#", "$", "\\", "="}) {
    EXPECT_EQ(test::convertTopic("tns1:A" + std::string(rest)).error,
              "topic expression, character 7: " + more + "\"" + rest + "\"");
  }
  expectRefused({{"tns1:A tns1:B", "character 8: expected \"|\" or the end, found \"t\""},
                 {"tns1:A /B", "character 8: expected \"|\" or the end, found \"/\""},
                 {"tns1:A //.", "character 8: expected \"|\" or the end, found \"/\""},
                 {"tns1:A\u00a0",
                  "character 7: expected \"/\", \"//.\", \"|\" or the end, "
                  "found \"<U+00A0>\""}});
}

TEST(TopicExpression, RefusesPrefixesThatStandForNothing) {
  const std::string known = "expected the prefix \"tns1\" or \"tnsovra\", found ";
  for (const char* prefix : {"acme", "TNS1", "tns", "tns11", "tt", "xmlns", "_"}) {
    EXPECT_EQ(test::convertTopic(std::string(prefix) + ":A").error,
              "topic expression, character 1: " + known + "\"" + prefix + "\"");
    EXPECT_EQ(test::convertTopic("tns1:A/" + std::string(prefix) + ":B").error,
              "topic expression, character 8: " + known + "\"" + prefix + "\"");
  }
}

TEST(TopicExpression, RefusesColonsThatMakeNoName) {
  expectRefused(
      {{":A", "character 1: expected a name, found \":\""},
       {"tns1:", "character 5: expected \"/\", \"//.\", \"|\" or the end, found \":\""},
       {"tns1: A", "character 5: expected \"/\", \"//.\", \"|\" or the end, found \":\""},
       {"tns1::A", "character 5: expected \"/\", \"//.\", \"|\" or the end, found \":\""},
       {"tns1:*", "character 5: expected \"/\", \"//.\", \"|\" or the end, found \":\""},
       {"tns1:A:B", "character 7: expected \"/\", \"//.\", \"|\" or the end, found \":\""},
       {"tns1 :A", "character 6: expected \"|\" or the end, found \":\""}});
}

TEST(TopicExpression, CountsCharactersAndNotBytes) {
  expectRefused({{"tns1:\u00e4\u6e29\U00010000/*", "character 10: expected a name, found \"*\""}});
}

TEST(TopicExpression, RefusesInvalidUtf8) {
  expectRefused({{"tns1:\u00e4\xFF", "character 7: expected valid UTF-8, found the byte 0xFF"},
                 {"\xC3", "character 1: expected valid UTF-8, found the byte 0xC3"},
                 {"tns1:A\xED\xA0\x80", "character 7: expected valid UTF-8, found the byte 0xED"}});
}

}  // namespace
