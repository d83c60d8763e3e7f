// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>
#include <jansson.h>

#include <string>

#include "input/input_handler.h"
#include "tests/doubles/recording_platform.h"
#include "tests/unit/input_payloads.h"
#include "tests/unit/json_heap.h"
#include "tests/unit/recorded_log.h"

using testing::HasSubstr;
using testing::IsEmpty;
using unit::withElements;

namespace {

class PayloadCheck : public testing::Test {
 protected:
  ~PayloadCheck() override {
    EXPECT_EQ(unit::JsonHeap::blocks(), 0U);
    EXPECT_THAT(unit::takeRecord(), IsEmpty());
  }

  static void expectAccepted(const std::string& payload) {
    std::string error = "as it was";
    EXPECT_TRUE(InputHandler::validatePayload(payload.c_str(), error)) << payload.substr(0, 200);
    EXPECT_EQ(error, "as it was");
  }

  static void expectRefused(const char* payload, const std::string& reason) {
    std::string error = "as it was, and longer than any reason that could be written over it, too";
    EXPECT_FALSE(InputHandler::validatePayload(payload, error));
    EXPECT_EQ(error, reason);
  }

  static void expectRefused(const std::string& payload, const std::string& reason) {
    SCOPED_TRACE(payload.substr(0, 200));
    expectRefused(payload.c_str(), reason);
  }

  /// The reason is what the JSON library says of the text when asked in the same way.
  static void expectUndecodable(const std::string& payload, const char* partOfReason) {
    json_error_t error;
    json_t* const root = json_loads(payload.c_str(), JSON_DECODE_ANY, &error);
    ASSERT_EQ(root, nullptr) << payload.substr(0, 200);
    EXPECT_THAT(std::string(error.text), HasSubstr(partOfReason));
    expectRefused(payload, std::string("Failed to decode JSON string: ") + error.text);
  }

 private:
  unit::JsonHeap heap_;
  unit::RecordedLog log_;
};

TEST_F(PayloadCheck, ReasonIsValidTextAlsoWhereTheJsonLibraryCutsACharacterInTwo) {
  expectRefused("{\"e\\u00\xf0\x9f\x98\x80\"}",
                "Failed to decode JSON string: invalid escape near '\"e\\u00\xef\xbf\xbd'");
}

TEST_F(PayloadCheck, AcceptsElementsWithEitherFilterOrBoth) {
  expectAccepted(R"({"eventFilterList":[{"topicFilter":"a"}]})");
  expectAccepted(R"({"eventFilterList":[{"contentFilter":"b"}]})");
  expectAccepted(
      R"({"eventFilterList":[{"topicFilter":"T","contentFilter":"C"},{"topicFilter":"U"}]})");
}

TEST_F(PayloadCheck, IgnoresEveryOtherMember) {
  expectAccepted(R"({"eventFilterList":[{"topicFilter":"a","contentFilter":"b","x":1}],"y":2})");
  expectAccepted(
      R"({"y":null,"eventFilterList":[{"x":[{}],"contentFilter":"b","TopicFilter":5}]})");
}

TEST_F(PayloadCheck, AcceptsEmptyTextsAsFilters) {
  expectAccepted(R"({"eventFilterList":[{"topicFilter":""}]})");
  expectAccepted(R"({"eventFilterList":[{"topicFilter":"","contentFilter":""}]})");
}

TEST_F(PayloadCheck, AcceptsWhiteSpaceAroundTheObject) {
  expectAccepted(" \t\r\n{\"eventFilterList\":[{\"topicFilter\":\"a\"}]} \n");
}

TEST_F(PayloadCheck, RefusesAnElementWithoutEitherFilter) {
  expectRefused(withElements("{}"), "Invalid event filter");
  expectRefused(withElements(R"({"topicfilter":"a","x":"b"})"), "Invalid event filter");
}

TEST_F(PayloadCheck, RefusesAFilterThatIsNoString) {
  for (const char* value : {"1", "1.5", "true", "false", "null", "[]", "{}", R"(["a"])"}) {
    const std::string text(value);
    expectRefused(withElements(R"({"topicFilter":)" + text + "}"), "Invalid event filter");
    expectRefused(withElements(R"({"contentFilter":)" + text + "}"), "Invalid event filter");
    expectRefused(withElements(R"({"topicFilter":"a","contentFilter":)" + text + "}"),
                  "Invalid event filter");
    expectRefused(withElements(R"({"topicFilter":)" + text + R"(,"contentFilter":"b"})"),
                  "Invalid event filter");
  }
}

TEST_F(PayloadCheck, RefusesAnElementThatIsNoObject) {
  for (const char* element : {R"("x")", "5", "null", "true", "[]", R"([{"topicFilter":"a"}])"}) {
    expectRefused(withElements(element), "Invalid event filter");
  }
}

TEST_F(PayloadCheck, RefusesAWrongElementWhereverItStands) {
  const std::string good = R"({"topicFilter":"a"})";
  expectRefused(withElements(good + R"(,"x")"), "Invalid event filter");
  expectRefused(withElements(R"("x",)" + good), "Invalid event filter");
  expectRefused(withElements(good + ",{}," + good), "Invalid event filter");
}

TEST_F(PayloadCheck, RefusesAListThatIsNoArray) {
  for (const char* list : {"{}", R"("a")", "5", "null", "true", R"({"topicFilter":"a"})"}) {
    expectRefused(std::string(R"({"eventFilterList":)") + list + "}",
                  "eventFilterList is not an array");
  }
}

TEST_F(PayloadCheck, RefusesAnEmptyList) {
  expectRefused(withElements(""), "eventFilterList is empty");
  expectRefused(std::string(R"({"eventFilterList": [ ]})"), "eventFilterList is empty");
}

TEST_F(PayloadCheck, RefusesAValueWithoutTheKey) {
  for (const char* payload : {"{}", "[]", "5", "-1.5e3", R"("a JSON string")", "null", "true",
                              "false", R"({"EventFilterList":[{"topicFilter":"a"}]})",
                              R"([{"eventFilterList":[{"topicFilter":"a"}]}])",
                              R"({"x":{"eventFilterList":[{"topicFilter":"a"}]}})"}) {
    expectRefused(std::string(payload), "eventFilterList key is not found in the JSON object");
  }
}

TEST_F(PayloadCheck, RefusesNull) {
  expectRefused(nullptr, "payload is NULL");
}

TEST_F(PayloadCheck, GivesTheJsonLibrarysWordsForTextThatDoesNotDecode) {
  expectUndecodable("", "unexpected token near end of file");
  expectUndecodable(" ", "unexpected token near end of file");
  expectUndecodable("{", "string or '}' expected near end of file");
  expectUndecodable(R"({"eventFilterList":[{"topicFilter":"a"}])", "near end of file");
  expectUndecodable(R"({"eventFilterList":[{"topicFilter":"a",}]})", "string or '}' expected");
  expectUndecodable("{'eventFilterList':[]}", "near '''");
  expectUndecodable("nul", "invalid token near 'nul'");
  expectUndecodable("{\"eventFilterList\":[{\"topicFilter\":\"\x01\"}]}", "control character 0x1");
  expectUndecodable(withElements("{\"topicFilter\":\"\xff\"}"), "unable to decode byte 0xff");
  expectUndecodable(withElements(R"({"topicFilter":"\ud800"})"), "invalid Unicode");
}

TEST_F(PayloadCheck, RefusesTextAfterTheValue) {
  const std::string good = withElements(R"({"topicFilter":"a"})");
  expectUndecodable(good + "x", "end of file expected near 'x'");
  expectUndecodable(good + good, "end of file expected near '{'");
  expectUndecodable(good + ",", "end of file expected near ','");
  expectUndecodable("5 6", "end of file expected near '6'");
}

TEST_F(PayloadCheck, RefusesAnEscapedNulCharacter) {
  expectUndecodable(withElements(R"({"topicFilter":"a\u0000b"})"), "\\u0000 is not allowed");
  expectUndecodable(R"({"a\u0000b":1,"eventFilterList":[{"topicFilter":"a"}]})", "\\u0000");
}

TEST_F(PayloadCheck, TakesTheLastOfTwoEqualKeys) {
  expectAccepted(R"({"eventFilterList":5,"eventFilterList":[{"topicFilter":"a"}]})");
  expectRefused(std::string(R"({"eventFilterList":[{"topicFilter":"a"}],"eventFilterList":[]})"),
                "eventFilterList is empty");
  expectAccepted(withElements(R"({"topicFilter":1,"topicFilter":"a"})"));
  expectRefused(withElements(R"({"topicFilter":"a","topicFilter":1})"), "Invalid event filter");
}

TEST_F(PayloadCheck, AcceptsNestingUpToTheJsonLibrarysLimit) {
  expectAccepted(unit::withDepth(unit::kJsonDepthLimit));
  expectUndecodable(unit::withDepth(unit::kJsonDepthLimit + 1), "maximum parsing depth reached");
  expectUndecodable(std::string(1'000'000, '['), "maximum parsing depth reached");
}

TEST_F(PayloadCheck, AcceptsTenMebibytes) {
  expectAccepted(
      withElements(R"({"topicFilter":")" + std::string(unit::kTenMebibytes, 'x') + "\"}"));
}

TEST_F(PayloadCheck, LooksAtEveryOneOfAHundredThousandElements) {
  std::string elements;
  for (int i = 0; i < 100'000; ++i) {
    elements += R"({"topicFilter":"a"},)";
  }
  expectAccepted(withElements(elements + R"({"contentFilter":"b"})"));
  expectRefused(withElements(elements + "{}"), "Invalid event filter");
}

}  // namespace
