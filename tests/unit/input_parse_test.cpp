// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>

#include "input/input_handler.h"
#include "input/json_exception.h"
#include "tests/doubles/recording_platform.h"
#include "tests/unit/input_payloads.h"
#include "tests/unit/json_heap.h"
#include "tests/unit/recorded_log.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using unit::withElements;

namespace {

class PayloadReading : public testing::Test {
 protected:
  ~PayloadReading() override {
    EXPECT_EQ(unit::JsonHeap::blocks(), 0U);
    EXPECT_THAT(unit::takeRecord(), IsEmpty());
  }

  static InputHandler::Filters parse(const std::string& payload) {
    InputHandler::Filters filters;
    InputHandler::parsePayload(payload.c_str(), filters);
    return filters;
  }

  /// What is in the list after the exception that must come.
  static InputHandler::Filters parseUntilThrow(const std::string& payload) {
    InputHandler::Filters filters;
    try {
      InputHandler::parsePayload(payload.c_str(), filters);
      ADD_FAILURE() << payload << " was read";
    } catch (const JsonException& exception) {
      EXPECT_STREQ(exception.what(), "Could not parse event filter");
    }
    return filters;
  }

 private:
  unit::JsonHeap heap_;
  unit::RecordedLog log_;
};

TEST_F(PayloadReading, GivesOnePairAnElementInTheirOrder) {
  EXPECT_THAT(parse(withElements(R"({"topicFilter":"a"})")), ElementsAre(Pair("a", "")));
  EXPECT_THAT(parse(withElements(R"({"contentFilter":"b"})")), ElementsAre(Pair("", "b")));
  EXPECT_THAT(parse(withElements(R"({"contentFilter":"C","topicFilter":"T"},{"topicFilter":"U"})")),
              ElementsAre(Pair("T", "C"), Pair("U", "")));
}

TEST_F(PayloadReading, IgnoresEveryOtherMember) {
  EXPECT_THAT(parse(R"({"eventFilterList":[{"topicFilter":"a","contentFilter":"b","x":1}],"y":2})"),
              ElementsAre(Pair("a", "b")));
}

TEST_F(PayloadReading, TakesAnElementWithoutFiltersAsTwoEmptyTexts) {
  EXPECT_THAT(parse(withElements("{}")), ElementsAre(Pair("", "")));
  EXPECT_THAT(parse(withElements(R"({"topicFilter":""})")), ElementsAre(Pair("", "")));
  EXPECT_THAT(parse(withElements(R"({"x":1},{"topicFilter":"a"})")),
              ElementsAre(Pair("", ""), Pair("a", "")));
}

TEST_F(PayloadReading, KeepsTextsAsTheyAre) {
  EXPECT_THAT(parse(withElements(R"({"topicFilter":" \"\\\/\n\u00e5\ud83d\ude00 "})")),
              ElementsAre(Pair(" \"\\/\n\xc3\xa5\xf0\x9f\x98\x80 ", "")));
}

TEST_F(PayloadReading, AppendsToWhatIsInTheListAlready) {
  InputHandler::Filters filters{{"before", "it"}};
  InputHandler::parsePayload(R"({"eventFilterList":[{"topicFilter":"a"}]})", filters);
  EXPECT_THAT(filters, ElementsAre(Pair("before", "it"), Pair("a", "")));
}

TEST_F(PayloadReading, ThrowsAtAFilterThatIsNoString) {
  for (const char* value : {"1", "1.5", "true", "null", "[]", "{}"}) {
    const std::string text(value);
    EXPECT_THAT(parseUntilThrow(withElements(R"({"topicFilter":)" + text + "}")), IsEmpty());
    EXPECT_THAT(parseUntilThrow(withElements(R"({"contentFilter":)" + text + "}")), IsEmpty());
    EXPECT_THAT(
        parseUntilThrow(withElements(R"({"topicFilter":)" + text + R"(,"contentFilter":"b"})")),
        IsEmpty());
  }
}

TEST_F(PayloadReading, ThrowsAtAnElementThatIsNoObject) {
  for (const char* element : {R"("x")", "5", "null", "true", "[]"}) {
    EXPECT_THAT(parseUntilThrow(withElements(element)), IsEmpty());
  }
}

TEST_F(PayloadReading, KeepsThePairsBeforeTheElementAtWhichItThrows) {
  EXPECT_THAT(parseUntilThrow(withElements(R"({"topicFilter":"a"},"x")")),
              ElementsAre(Pair("a", "")));
  EXPECT_THAT(parseUntilThrow(withElements(R"({},{"contentFilter":"b"},5,{"topicFilter":"c"})")),
              ElementsAre(Pair("", ""), Pair("", "b")));
}

TEST_F(PayloadReading, AddsNothingForTextWithoutAUsableList) {
  for (const char* payload :
       {"", " ", "{", "nul", R"({"eventFilterList":[{"topicFilter":"a"}]}x)", "{}", "[]", "5",
        R"("a JSON string")", "null", R"({"eventFilterList":{}})", R"({"eventFilterList":"a"})",
        R"({"eventFilterList":[]})", R"({"eventFilterList":null})",
        R"({"eventFilterList":[{"topicFilter":"a\u0000b"}]})",
        R"([{"eventFilterList":[{"topicFilter":"a"}]}])"}) {
    InputHandler::Filters filters{{"before", "it"}};
    EXPECT_NO_THROW(InputHandler::parsePayload(payload, filters)) << payload;
    EXPECT_THAT(filters, ElementsAre(Pair("before", "it"))) << payload;
  }
}

TEST_F(PayloadReading, LogsANullPayloadOnceAndAddsNothing) {
  InputHandler::Filters filters{{"before", "it"}};
  EXPECT_NO_THROW(InputHandler::parsePayload(nullptr, filters));
  EXPECT_THAT(filters, ElementsAre(Pair("before", "it")));
  EXPECT_THAT(unit::takeRecord(), ElementsAre("log(256, no domain, payload is NULL)"));
}

TEST_F(PayloadReading, TakesTheLastOfTwoEqualKeys) {
  EXPECT_THAT(parse(withElements(R"({"topicFilter":1,"topicFilter":"a"})")),
              ElementsAre(Pair("a", "")));
  EXPECT_THAT(parse(R"({"eventFilterList":[{}],"eventFilterList":[{"contentFilter":"b"}]})"),
              ElementsAre(Pair("", "b")));
}

TEST_F(PayloadReading, ReadsNestingUpToTheJsonLibrarysLimit) {
  EXPECT_THAT(parse(unit::withDepth(unit::kJsonDepthLimit)), ElementsAre(Pair("a", "")));
  EXPECT_THAT(parse(unit::withDepth(unit::kJsonDepthLimit + 1)), IsEmpty());
}

TEST_F(PayloadReading, ReadsTenMebibytes) {
  const std::string big(unit::kTenMebibytes, 'x');
  const auto filters = parse(withElements(R"({"contentFilter":")" + big + "\"}"));
  ASSERT_EQ(filters.size(), 1U);
  EXPECT_TRUE(filters.front().second == big);
}

}  // namespace
