// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <jansson.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/integration/service_test.h"

namespace integration {

namespace {

struct Payload {
  std::string name;
  std::string text;
  /// Why it is refused; empty for an accepted one, "jansson" for the decoder's own words.
  std::string reason;
  /// Topic and content filter of each entry of an accepted one.
  std::vector<std::pair<std::string, std::string>> filters;
};

void PrintTo(const Payload& payload, std::ostream* out) {
  *out << payload.text.substr(0, 200);
}

/// `depth` arrays in each other, in a member that nobody asks for.
std::string nested(std::size_t depth) {
  return R"({"x":)" + std::string(depth, '[') + std::string(depth, ']') +
         R"(,"eventFilterList":[{"topicFilter":"a"}]})";
}

constexpr const char* kNoList = "eventFilterList key is not found in the JSON object";

const std::vector<Payload> kPayloads = {
    {"TopicAlone", R"({"eventFilterList":[{"topicFilter":"a"}]})", "", {{"a", ""}}},
    {"ContentAlone", R"({"eventFilterList":[{"contentFilter":"b"}]})", "", {{"", "b"}}},
    {"BothAndOtherMembers",
     R"({"eventFilterList":[{"topicFilter":"a","contentFilter":"b","x":1}],"y":2})",
     "",
     {{"a", "b"}}},
    {"EmptyTopic", R"({"eventFilterList":[{"topicFilter":""}]})", "", {{"", ""}}},
    {"SeveralInOrder",
     R"({"eventFilterList":[{"topicFilter":"T","contentFilter":"C"},{"topicFilter":"U"}]})",
     "",
     {{"T", "C"}, {"U", ""}}},
    {"SameFilterTwice",
     R"({"eventFilterList":[{"topicFilter":"a"},{"topicFilter":"a"}]})",
     "",
     {{"a", ""}, {"a", ""}}},
    {"DuplicateKeysTheLastCounts",
     R"({"eventFilterList":[],"eventFilterList":[{"topicFilter":1,"topicFilter":"b"}]})",
     "",
     {{"b", ""}}},
    {"WhiteSpaceAround",
     " \n\t{\"eventFilterList\" : [ {\"topicFilter\" : \"a\"} ] }\r\n ",
     "",
     {{"a", ""}}},
    {"EscapesAndUnicode",
     R"({"eventFilterList":[{"topicFilter":"\u00e4\"\\\/\n€"}]})",
     "",
     {{"\xc3\xa4\"\\/\n\xe2\x82\xac", ""}}},
    {"FormatCharacters", R"({"eventFilterList":[{"topicFilter":"%s%n"}]})", "", {{"%s%n", ""}}},
    {"NestedAsDeepAsTheDecoderGoes", nested(2040), "", {{"a", ""}}},
    {"TenMebibytes",
     R"({"x":")" + std::string(10 << 20, 'x') + R"(","eventFilterList":[{"topicFilter":"a"}]})",
     "",
     {{"a", ""}}},
    {"EntryWithoutEither", R"({"eventFilterList":[{}]})", "Invalid event filter", {}},
    {"EntryWithOtherMembersOnly", R"({"eventFilterList":[{"x":"a"}]})", "Invalid event filter", {}},
    {"TopicANumber", R"({"eventFilterList":[{"topicFilter":1}]})", "Invalid event filter", {}},
    {"TopicNull",
     R"({"eventFilterList":[{"topicFilter":null,"contentFilter":"b"}]})",
     "Invalid event filter",
     {}},
    {"ContentAnObject",
     R"({"eventFilterList":[{"topicFilter":"a","contentFilter":{}}]})",
     "Invalid event filter",
     {}},
    {"SecondEntryAText",
     R"({"eventFilterList":[{"topicFilter":"a"},"x"]})",
     "Invalid event filter",
     {}},
    {"EntryAnArray", R"({"eventFilterList":[["topicFilter","a"]]})", "Invalid event filter", {}},
    {"ListAnObject", R"({"eventFilterList":{}})", "eventFilterList is not an array", {}},
    {"ListNull", R"({"eventFilterList":null})", "eventFilterList is not an array", {}},
    {"ListEmpty", R"({"eventFilterList":[]})", "eventFilterList is empty", {}},
    {"RootAnArray", "[]", kNoList, {}},
    {"RootANumber", "5", kNoList, {}},
    {"RootAText", "\"eventFilterList\"", kNoList, {}},
    {"RootNull", "null", kNoList, {}},
    {"KeyInOtherCase", R"({"EventFilterList":[{"topicFilter":"a"}]})", kNoList, {}},
    {"Empty", "", "jansson", {}},
    {"Blank", "  ", "jansson", {}},
    {"TrailingText", R"({"eventFilterList":[{"topicFilter":"a"}]} x)", "jansson", {}},
    {"SecondValue", R"({"eventFilterList":[{"topicFilter":"a"}]}{})", "jansson", {}},
    {"CutOff", R"({"eventFilterList":[{"topicFilter":"a")", "jansson", {}},
    {"SingleQuotes", "{'eventFilterList':[]}", "jansson", {}},
    {"NulInAText", R"({"eventFilterList":[{"topicFilter":"a\u0000b"}]})", "jansson", {}},
    {"NulInAKey", R"({"\u0000":1,"eventFilterList":[{"topicFilter":"a"}]})", "jansson", {}},
    {"LoneSurrogate", R"({"eventFilterList":[{"topicFilter":"\ud800"}]})", "jansson", {}},
    {"NumberTooLarge", R"({"x":123456789012345678901234567890})", "jansson", {}},
    {"NestedTooDeep", nested(100000), "jansson", {}},
};

std::string decoderText(const std::string& payload) {
  json_error_t error;
  json_t* root = json_loads(payload.c_str(), JSON_DECODE_ANY, &error);
  EXPECT_EQ(root, nullptr);
  return std::string("Failed to decode JSON string: ") + error.text;
}

/// What the platform sees of the filters of one accepted request, which is the service's first.
std::vector<std::string> expectedFilterCalls(const Payload& payload) {
  std::vector<std::string> calls;
  unsigned number = 0;
  for (const auto& [topic, content] : payload.filters) {
    const std::string filter = "filter" + std::to_string(++number);
    calls.push_back("wse_filter_new() = " + filter);
    if (!topic.empty()) {
      calls.push_back("wse_filter_add_topic_expression(" + filter + ", tns1, tnsovra, " +
                      kTopicDialect + ", " + topic + ") = TRUE");
    }
    if (!content.empty()) {
      calls.push_back("wse_filter_add_message_content(" + filter + ", " + kContentDialect + ", " +
                      content + ") = TRUE");
    }
    calls.push_back("wse_filter_to_subscription(" + filter + ") = expression" +
                    std::to_string(number));
    calls.push_back("wse_filter_free(" + filter + ")");
  }
  return calls;
}

}  // namespace

class Payloads : public ServiceTest, public ::testing::WithParamInterface<Payload> {};

TEST_P(Payloads, IsAnsweredAndApplied) {
  const Payload& payload = GetParam();
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  forgetCalls();
  EXPECT_TRUE(client.handleRequest("s", payload.text).ok());
  ASSERT_TRUE(streaming.waitForCalls(1));
  if (payload.reason.empty()) {
    EXPECT_EQ(streaming.calls()[0], response("s"));
    std::vector<std::string> calls = platformCalls();
    const std::vector<std::string> expected = expectedFilterCalls(payload);
    calls.resize(std::min(calls.size(), expected.size()));
    EXPECT_EQ(calls, expected);
    EXPECT_EQ(platform.subscriptions().size(), payload.filters.size());
    return;
  }
  const std::string reason =
      payload.reason == "jansson" ? decoderText(payload.text) : payload.reason;
  EXPECT_EQ(streaming.calls()[0],
            errorResponse("s", "r1", "configure",
                          R"({"code":2104,"message":"Invalid event datasource payload: )" + reason +
                              R"("})"));
  EXPECT_THAT(platformCalls(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, Payloads, ::testing::ValuesIn(kPayloads),
                         [](const auto& payload) { return payload.param.name; });

}  // namespace integration
