// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "filter_support.h"

namespace {

struct Refusal {
  std::string expression;
  const char* error;
};

void expectRefused(const std::vector<Refusal>& refusals) {
  for (const Refusal& refusal : refusals) {
    EXPECT_EQ(test::convertContent(refusal.expression).error,
              "message content, " + std::string(refusal.error))
        << refusal.expression;
  }
}

/// Within `boolean(//tt:SimpleItem[` … `])`, which starts at character 25.
void expectBracketRefused(const std::vector<Refusal>& refusals) {
  for (const Refusal& refusal : refusals) {
    expectRefused({{"boolean(//tt:SimpleItem[" + refusal.expression + "])", refusal.error}});
  }
}

TEST(ContentRefusal, NothingAtAll) {
  expectRefused(
      {{"", "character 1: expected \"boolean\", \"not\" or \"(\", found the end"},
       {" \t", "character 3: expected \"boolean\", \"not\" or \"(\", found the end"},
       {"()", "character 2: expected \"boolean\", \"not\" or \"(\", found \")\""},
       {"not()", "character 5: expected \"boolean\", \"not\" or \"(\", found \")\""},
       {"boolean()", "character 9: expected \"//\", found \")\""},
       {"boolean(//SimpleItem[])", "character 22: expected \"@\", \"not\" or \"(\", found \"]\""}});
}

TEST(ContentRefusal, OtherFunctionsNamesAndValues) {
  const std::string operand = "character 1: expected \"boolean\", \"not\" or \"(\", found ";
  expectRefused({{"count(//tt:SimpleItem)", (operand + "\"count\"").c_str()},
                 {"true()", (operand + "\"true\"").c_str()},
                 {"string(//tt:SimpleItem)", (operand + "\"string\"").c_str()},
                 {"Boolean(//SimpleItem[@Name='x'])", (operand + "\"Boolean\"").c_str()},
                 {"fn:boolean(//SimpleItem[@Name='x'])", (operand + "\"fn:boolean\"").c_str()},
                 {"//tt:SimpleItem[@Name='x']", (operand + "\"//\"").c_str()},
                 {"@Name='x'", (operand + "\"@\"").c_str()},
                 {"'x'", (operand + "\"'x'\"").c_str()},
                 {"1", (operand + "\"1\"").c_str()},
                 {"$x", (operand + "\"$\"").c_str()},
                 {"and", (operand + "\"and\"").c_str()},
                 {"(: comment :)",
                  "character 2: expected \"boolean\", \"not\" or \"(\", "
                  "found \":\""}});
}

TEST(ContentRefusal, OtherPathsAndAxes) {
  const char* item = "character 11: expected \"SimpleItem\" or \"ElementItem\", found ";
  for (const char* name : {"*", "simpleitem", "Simpleitem", "tt:simpleItem", "child", "SimpleItems",
                           "@", "node", ".", "..", "Data"}) {
    EXPECT_EQ(test::convertContent("boolean(//" + std::string(name) + "[@Name='x'])").error,
              "message content, " + std::string(item) + "\"" + name + "\"");
  }
  expectRefused(
      {{"boolean(/tt:SimpleItem[@Name='x'])", "character 9: expected \"//\", found \"/\""},
       {"boolean(/ /tt:SimpleItem[@Name='x'])", "character 9: expected \"//\", found \"/\""},
       {"boolean(.//SimpleItem[@Name='x'])", "character 9: expected \"//\", found \".\""},
       {"boolean(SimpleItem[@Name='x'])", "character 9: expected \"//\", found \"SimpleItem\""},
       {"boolean(//SimpleItem/@Name)", "character 21: expected \"[\", found \"/\""},
       {"boolean(//SimpleItem)", "character 21: expected \"[\", found \")\""},
       {"boolean(//SimpleItem[@Name='x']/..)", "character 32: expected \")\", found \"/\""},
       {"boolean(//SimpleItem[@Name='x'][1])", "character 32: expected \")\", found \"[\""},
       {"boolean(//SimpleItem[@Name='x']|//ElementItem[@Name='x'])",
        "character 32: expected \")\", found \"|\""},
       {"boolean(//child::SimpleItem[@Name='x'])",
        "character 11: expected \"SimpleItem\" or \"ElementItem\", found \"child\""},
       {"boolean((//SimpleItem[@Name='x']))", "character 9: expected \"//\", found \"(\""},
       {"boolean(//SimpleItem[@Name='x'] and //SimpleItem[@Name='y'])",
        "character 33: expected \")\", found \"and\""},
       {"boolean(boolean(//SimpleItem[@Name='x']))",
        "character 9: expected \"//\", found \"boolean\""}});
}

TEST(ContentRefusal, PrefixesThatStandForNothing) {
  expectRefused({{"boolean(//x:SimpleItem[@Name='y'])",
                  "character 11: expected no prefix or \"tt\", found \"x\""},
                 {"boolean(//TT:ElementItem[@Name='y'])",
                  "character 11: expected no prefix or \"tt\", found \"TT\""},
                 {"boolean(//and:SimpleItem[@Name='y'])",
                  "character 11: expected no prefix or \"tt\", found \"and\""},
                 {"boolean(//tt :SimpleItem[@Name='y'])",
                  "character 11: expected \"SimpleItem\" or \"ElementItem\", found \"tt\""},
                 {"boolean(//tt: SimpleItem[@Name='y'])",
                  "character 11: expected \"SimpleItem\" or \"ElementItem\", found \"tt\""},
                 {"boolean(//tt:*[@Name='y'])",
                  "character 11: expected \"SimpleItem\" or \"ElementItem\", found \"tt\""},
                 {"boolean(//:SimpleItem[@Name='y'])",
                  "character 11: expected \"SimpleItem\" or \"ElementItem\", found \":\""}});
}

TEST(ContentRefusal, OtherComparisons) {
  expectBracketRefused(
      {{"@Name!='x'", "character 30: expected \"=\", found \"!=\""},
       {"@Name<'x'", "character 30: expected \"=\", found \"<\""},
       {"@Name>='x'", "character 30: expected \"=\", found \">=\""},
       {"@Name", "character 30: expected \"=\", found \"]\""},
       {"@Name=x", "character 31: expected a string in quotes, found \"x\""},
       {"@Name=15", "character 31: expected a string in quotes, found \"1\""},
       {"@Name=@Value", "character 31: expected a string in quotes, found \"@\""},
       {"@Name=$x", "character 31: expected a string in quotes, found \"$\""},
       {"@Name==\"x\"", "character 31: expected a string in quotes, found \"=\""},
       {"@Name='x'='y'", "character 34: expected \"and\", \"or\" or \"]\", found \"=\""},
       {"@Name='x'+1", "character 34: expected \"and\", \"or\" or \"]\", found \"+\""},
       {"@Name='x'|@Name='y'", "character 34: expected \"and\", \"or\" or \"]\", found \"|\""},
       {"'x'=@Name", "character 25: expected \"@\", \"not\" or \"(\", found \"'x'\""}});
}

TEST(ContentRefusal, OtherAttributesAndTests) {
  expectBracketRefused(
      {{"@name='x'", "character 26: expected \"Name\" or \"Value\", found \"name\""},
       {"@tt:Name='x'", "character 26: expected \"Name\" or \"Value\", found \"tt:Name\""},
       {"@*='x'", "character 26: expected \"Name\" or \"Value\", found \"*\""},
       {"@and='x'", "character 26: expected \"Name\" or \"Value\", found \"and\""},
       {"@@Name='x'", "character 26: expected \"Name\" or \"Value\", found \"@\""},
       {"Name='x'", "character 25: expected \"@\", \"not\" or \"(\", found \"Name\""},
       {"1", "character 25: expected \"@\", \"not\" or \"(\", found \"1\""},
       {"last()", "character 25: expected \"@\", \"not\" or \"(\", found \"last\""},
       {"attribute::Name='x'",
        "character 25: expected \"@\", \"not\" or \"(\", found \"attribute\""},
       {"starts-with(@Name,'x')",
        "character 25: expected \"@\", \"not\" or \"(\", found \"starts-with\""},
       {"boolean(@Name='x')", "character 25: expected \"@\", \"not\" or \"(\", found \"boolean\""},
       {"../@Name='x'", "character 25: expected \"@\", \"not\" or \"(\", found \"..\""},
       {"not @Name='x'", "character 29: expected \"(\", found \"@\""}});
}

TEST(ContentRefusal, NamesThatSwallowAnOperator) {
  const std::string t = "boolean(//SimpleItem[@Name='x'])";  // 32 characters
  const std::string more = "character 33: expected \"and\", \"or\" or the end, found ";
  expectRefused({{t + "andboolean(//SimpleItem[@Name='y'])", (more + "\"andboolean\"").c_str()},
                 {t + "and-not(" + t + ")", (more + "\"and-not\"").c_str()},
                 {t + "or." + t, (more + "\"or.boolean\"").c_str()},
                 {t + "and:or", (more + "\"and:or\"").c_str()},
                 {t + "and\u00e4", (more + "\"and\u00e4\"").c_str()},
                 {t + "And " + t, (more + "\"And\"").c_str()}});
  expectRefused({{t + " and not-boolean(//SimpleItem[@Name='y'])",
                  "character 38: expected \"boolean\", \"not\" or \"(\", found \"not-boolean\""},
                 {"notboolean(//SimpleItem[@Name='y'])",
                  "character 1: expected \"boolean\", \"not\" or \"(\", found \"notboolean\""}});
  expectBracketRefused(
      {{"@Name='x'and1", "character 34: expected \"and\", \"or\" or \"]\", found \"and1\""},
       {"@Name='x'andnot(@Name='y')",
        "character 34: expected \"and\", \"or\" or \"]\", found \"andnot\""}});
}

TEST(ContentRefusal, OperatorsWithoutBothSides) {
  const std::string t = "boolean(//SimpleItem[@Name='x'])";
  expectRefused(
      {{t + " and", "character 37: expected \"boolean\", \"not\" or \"(\", found the end"},
       {t + " or ", "character 37: expected \"boolean\", \"not\" or \"(\", found the end"},
       {"and " + t, "character 1: expected \"boolean\", \"not\" or \"(\", found \"and\""},
       {t + " and and " + t, "character 38: expected \"boolean\", \"not\" or \"(\", found \"and\""},
       {t + " or and " + t, "character 37: expected \"boolean\", \"not\" or \"(\", found \"and\""},
       {t + " " + t, "character 34: expected \"and\", \"or\" or the end, found \"boolean\""},
       {t + " | " + t, "character 34: expected \"and\", \"or\" or the end, found \"|\""},
       {t + " = " + t, "character 34: expected \"and\", \"or\" or the end, found \"=\""}});
  expectBracketRefused(
      {{"@Name='x' and", "character 38: expected \"@\", \"not\" or \"(\", found \"]\""},
       {"or @Name='x'", "character 25: expected \"@\", \"not\" or \"(\", found \"or\""},
       {"@Name='x' @Value='y'", "character 35: expected \"and\", \"or\" or \"]\", found \"@\""}});
}

TEST(ContentRefusal, BracketsThatDoNotFit) {
  const std::string t = "boolean(//SimpleItem[@Name='x'])";
  expectRefused(
      {{"(" + t, "character 34: expected \"and\", \"or\" or \")\", found the end"},
       {t + ")", "character 33: expected \"and\", \"or\" or the end, found \")\""},
       {"not(" + t, "character 37: expected \"and\", \"or\" or \")\", found the end"},
       {"[" + t + "]", "character 1: expected \"boolean\", \"not\" or \"(\", found \"[\""},
       {"not " + t, "character 5: expected \"(\", found \"boolean\""},
       {"not", "character 4: expected \"(\", found the end"},
       {"boolean", "character 8: expected \"(\", found the end"},
       {"boolean[//SimpleItem[@Name='x']]", "character 8: expected \"(\", found \"[\""},
       {"boolean(//SimpleItem[@Name='x']", "character 32: expected \")\", found the end"},
       {"boolean(//SimpleItem[@Name='x')",
        "character 31: expected \"and\", \"or\" or \"]\", "
        "found \")\""},
       {"boolean(//SimpleItem(@Name='x'))", "character 21: expected \"[\", found \"(\""},
       {"boolean(//SimpleItem[(@Name='x']))",
        "character 32: expected \"and\", \"or\" or \")\", "
        "found \"]\""}});
}

TEST(ContentRefusal, StringsWithoutAnEnd) {
  expectRefused({{"boolean(//SimpleItem[@Name='x])",
                  "character 32: expected the end of the string that "
                  "starts with \"'x])\", found the end"},
                 {"boolean(//SimpleItem[@Name=\"x'])",
                  "character 33: expected the end of the string that "
                  "starts with '\"x'])', found the end"}});
}

TEST(ContentRefusal, CharactersThatXmlDoesNotHave) {
  expectBracketRefused(
      {{"@Name='a\x01'", "character 33: expected a character that XML has, found \"<U+0001>\""},
       {"@Name='\uFFFE'", "character 32: expected a character that XML has, found \"<U+FFFE>\""}});
  expectRefused(
      {{"boolean(//SimpleItem\f[@Name='x'])", "character 21: expected \"[\", found \"<U+000C>\""},
       {"\u00a0boolean(//SimpleItem[@Name='x'])",
        "character 1: expected \"boolean\", \"not\" or \"(\", found \"<U+00A0>\""},
       {"\uFEFFboolean(//SimpleItem[@Name='x'])",
        "character 1: expected \"boolean\", \"not\" or \"(\", found \"<U+FEFF>boolean\""}});
}

TEST(ContentRefusal, PositionsCountCharactersAndNotBytes) {
  expectBracketRefused(
      {{"@Name='\u00e4\u6e29\U0001F600' und",
        "character 37: expected \"and\", \"or\" or \"]\", found \"und\""},
       {"@Name='\u00e4\xFF'", "character 33: expected valid UTF-8, found the byte 0xFF"}});
}

TEST(ContentRefusal, LongTextIsShortenedInTheError) {
  expectRefused({{std::string(1000, 'x'), ("character 1: expected \"boolean\", \"not\" or \"(\", "
                                           "found \"" +
                                           std::string(80, 'x') + "\u2026\"")
                                              .c_str()}});
}

}  // namespace
