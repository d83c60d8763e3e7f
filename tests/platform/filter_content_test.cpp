// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "filter_support.h"

namespace {

using test::contentVerdict;

constexpr const char* kEvent = R"({
  "UtcTime": "2008-10-10T12:24:57.321Z",
  "Source": {"Rule": "Fence1", "Token": "1", "Lens": {"SimpleItem": "x", "Rule": "inner"}},
  "Key": {"ObjectId": 15, "and": "or"},
  "Data": {"IsInside": true, "Real": 15.0, "Exp": 1e3, "Level": 28.65, "Empty": "", "Null": null,
           "List": [1, "Listed"], "\u00dcber": "gr\u00fc\u00dfe", "Quote": "say \"hi\"",
           "Apos": "it's", "Space": " a  b\n", "not": "boolean", "": "nameless"}})";

struct Case {
  std::string expression;
  bool matches;
};

void expectAll(const std::vector<Case>& cases) {
  for (const Case& wanted : cases) {
    EXPECT_EQ(contentVerdict(wanted.expression, kEvent), wanted.matches ? "yes" : "no")
        << wanted.expression;
  }
}

std::string simple(const std::string& bracket) {
  return "boolean(//tt:SimpleItem[" + bracket + "])";
}
std::string element(const std::string& bracket) {
  return "boolean(//tt:ElementItem[" + bracket + "])";
}
/// True and false, to build on.
const std::string kT = simple("@Name=\"Rule\"");
const std::string kF = simple("@Name=\"Nowhere\"");

TEST(ContentExpression, LooksInEveryGroup) {
  expectAll({{simple(R"(@Name="Rule" and @Value="Fence1")"), true},
             {simple(R"(@Name="ObjectId" and @Value="15")"), true},
             {simple(R"(@Name="Level" and @Value="28.65")"), true},
             {simple(R"(@Name="UtcTime")"), false}});
}

TEST(ContentExpression, OneItemMustHoldTheWholeBracket) {
  expectAll({{simple(R"(@Name="Rule" and @Value="15")"), false},
             {simple("@Name=\"Rule\"") + " and " + simple("@Value=\"15\""), true},
             {simple(R"(@Name="Rule" or @Value="nothing")"), true},
             {simple(R"(@Name="Rule" and @Name="Token")"), false},
             {simple(R"(not(@Name="Rule"))"), true}});
}

TEST(ContentExpression, NumbersAndBooleansCompareAsTheyAreWritten) {
  expectAll({{simple(R"(@Name="ObjectId" and @Value="15")"), true},
             {simple(R"(@Name="ObjectId" and @Value="15.0")"), false},
             {simple(R"(@Name="Real" and @Value="15.0")"), true},
             {simple(R"(@Name="Real" and @Value="15")"), false},
             {simple(R"(@Name="Exp" and @Value="1e3")"), true},
             {simple(R"(@Name="Exp" and @Value="1000")"), false},
             {simple(R"(@Name="IsInside" and @Value="true")"), true},
             {simple(R"(@Name="IsInside" and @Value="True")"), false},
             {simple(R"(@Name="IsInside" and @Value="1")"), false}});
}

TEST(ContentExpression, ElementItemsHaveANameAndNoValue) {
  expectAll({{element("@Name=\"Lens\""), true},
             {element("@Name=\"List\""), true},
             {element("@Name=\"Null\""), true},
             {element("@Name=\"Rule\""), false},
             {simple("@Name=\"Lens\""), false},
             {simple("@Name=\"Null\""), false},
             {element("@Value=\"\""), false},
             {element("@Value=\"null\""), false},
             {element(R"(@Name="Lens" and not(@Value="x"))"), true},
             {element(R"(@Name="Null" and not(@Value=""))"), true}});
}

TEST(ContentExpression, WhatStandsInsideAnElementIsNoItem) {
  expectAll({{simple("@Value=\"inner\""), false},
             {simple("@Name=\"SimpleItem\""), false},
             {simple("@Value=\"Listed\""), false},
             {element("@Name=\"SimpleItem\""), false}});
}

TEST(ContentExpression, TextComparesByteForByte) {
  expectAll({{simple("@Name=\"\u00dcber\" and @Value=\"gr\u00fc\u00dfe\""), true},
             {simple("@Value=\"gru\u0308\u00dfe\""), false},
             {simple("@Name=\"rule\""), false},
             {simple("@Name=\"Rul\""), false},
             {simple("@Name=\"Rule \""), false},
             {simple("@Value=\" a  b\n\""), true},
             {simple("@Value=\"a b\""), false}});
}

TEST(ContentExpression, EmptyStringsAreTextLikeAnyOther) {
  expectAll({{simple(R"(@Name="Empty" and @Value="")"), true},
             {simple(R"(@Name="Rule" and @Value="")"), false},
             {simple(R"(@Name="" and @Value="nameless")"), true},
             {simple("@Name=''"), true},
             {element("@Name=''"), false}});
}

TEST(ContentExpression, StringsStandInEitherQuotes) {
  expectAll({{simple("@Name='Rule' and @Value=\"Fence1\""), true},
             {simple("@Value='say \"hi\"'"), true},
             {simple("@Value=\"it's\""), true},
             {simple("@Value='&quot;'"), false},
             {simple("@Value=\"])or(\" or @Name='Rule'"), true}});
}

TEST(ContentExpression, AndBindsTighterThanOr) {
  expectAll({{kT + " or " + kT + " and " + kF, true},
             {"(" + kT + " or " + kT + ") and " + kF, false},
             {kF + " and " + kF + " or " + kT, true},
             {kF + " and (" + kF + " or " + kT + ")", false},
             {kT + " and " + kF + " or " + kF + " and " + kT, false},
             {simple(R"(@Name="Rule" or @Name="x" and @Value="x")"), true},
             {simple(R"((@Name="Rule" or @Name="x") and @Value="x")"), false}});
}

TEST(ContentExpression, NotTurnsWhatItsBracketsHold) {
  expectAll({{"not(" + kF + ")", true},
             {"not(" + kT + ")", false},
             {"not(not(" + kT + "))", true},
             {"not(" + kT + " and " + kF + ")", true},
             {"not(" + kT + ") or " + kT, true},
             {"not(" + kF + " or not(" + kT + " and not(" + kF + ")))", true},
             {simple(R"(@Name="Rule" and not(@Value="Fence1" or @Value="Fence2"))"), false},
             {simple(R"(@Name="Rule" and not(not(@Value="Fence1")))"), true}});
}

TEST(ContentExpression, ThePrefixOfAnItemIsAbsentOrTt) {
  expectAll({{"boolean(//SimpleItem[@Name=\"Rule\"])", true},
             {"boolean(//tt:SimpleItem[@Name=\"Rule\"])", true},
             {"boolean(//ElementItem[@Name=\"Lens\"])", true},
             {"not(boolean(//SimpleItem[@Name=\"Nowhere\"]))", true}});
}

TEST(ContentExpression, WhiteSpaceMayStandBetweenAnyTwoTokens) {
  const std::string tokens[] = {"not", "(",   "boolean", "(",    "//",    "tt:SimpleItem",
                                "[",   "(",   "@",       "Name", "=",     "\"Nowhere\"",
                                "or",  "@",   "Name",    "=",    "'x'",   ")",
                                "and", "not", "(",       "@",    "Value", "=",
                                "'y'", ")",   "]",       ")",    ")"};
  for (const std::string& space : {std::string(" "), std::string("\t"), std::string("\r\n")}) {
    std::string spread = space;
    for (const std::string& token : tokens) {
      spread += token + space;
    }
    expectAll({{spread, true}});
  }
  expectAll({{"not(boolean(//tt:SimpleItem[(@Name=\"x\"or@Name='x')and not(@Value='y')]))", true}});
}

TEST(ContentExpression, OperatorsNeedNoWhiteSpaceWhereNoNameTouchesThem) {
  expectAll({{simple(R"(@Name="Rule"and@Value="Fence1")"), true},
             {simple(R"(@Name="x"or@Value="Fence1")"), true},
             {simple(R"((@Name="Rule")and(@Value="Fence1"))"), true},
             {simple(R"(@Name="Rule"and not(@Value="x"))"), true},
             {"(" + kT + ")and(" + kT + ")", true},
             {kT + "and(" + kF + ")or(" + kT + ")", true},
             {kT + "and not(" + kF + ")", true}});
}

TEST(ContentExpression, ItemsMayBeNamedLikeOperators) {
  expectAll({{simple(R"(@Name="and" and @Value="or")"), true},
             {simple(R"(@Name="not" and @Value="boolean")"), true},
             {simple(R"(@Value="or" and not(@Name="or"))"), true}});
}

TEST(ContentExpression, AMessageWithoutItemsHoldsNoItem) {
  EXPECT_EQ(contentVerdict(kT, "{}"), "no");
  EXPECT_EQ(contentVerdict("not(" + kT + ")", "{}"), "yes");
  EXPECT_EQ(contentVerdict(simple("not(@Name=\"x\")"), R"({"Data":{}})"), "no");
  EXPECT_EQ(contentVerdict(element("not(@Value=\"x\")"), R"({"Data":{"a":1}})"), "no");
}

TEST(ContentExpression, AnyOfSeveralItemsOfOneNameWillDo) {
  const std::string event = R"({"Source":{"a":"1"},"Data":{"a":"2","a":"3","a":{}}})";
  for (const char* value : {"1", "2", "3"}) {
    const std::string bracket = "@Name='a' and @Value='" + std::string(value) + "'";
    EXPECT_EQ(contentVerdict(simple(bracket), event), "yes");
  }
  EXPECT_EQ(contentVerdict(element("@Name='a'"), event), "yes");
}

TEST(ContentExpression, NoTextEqualsHalfOfASurrogatePair) {
  const std::string event = R"({"Data":{"a":"\ud800"}})";
  EXPECT_EQ(contentVerdict(simple("@Name='a' and not(@Value='\uFFFD')"), event), "yes");
}

}  // namespace
