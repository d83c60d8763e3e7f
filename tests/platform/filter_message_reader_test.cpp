// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/message_reader.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using model::ItemGroup;
using model::MessageReader;
using std::string_literals::operator""s;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

std::string faultOf(const std::string& payload) {
  MessageReader reader;
  std::string error;
  return reader.read(payload, error) ? "accepted" : error;
}

/// The items as text: group, name, and the value or what stands for an element.
std::vector<std::string> itemsOf(const std::string& payload) {
  MessageReader reader;
  std::string error;
  const auto message = reader.read(payload, error);
  if (!message) {
    return {error};
  }
  std::vector<std::string> items;
  for (const model::Item& item : message->items()) {
    const char* group = item.group == ItemGroup::Source ? "S " : "D ";
    items.push_back((item.group == ItemGroup::Key ? "K " : group) + std::string(item.name) +
                    (item.isElement ? " element" : "=" + std::string(item.value)));
  }
  return items;
}

std::string nested(std::size_t arrays) {
  return "{\"Data\":{\"x\":" + std::string(arrays, '[') + std::string(arrays, ']') + "}}";
}

TEST(MessageReader, TakesTheItemsOfTheThreeGroupsInTheirOrder) {
  EXPECT_THAT(itemsOf(R"({"UtcTime":"t","Source":{"a":"1"},"Key":{"b":"2"},"Data":{"c":"3"},)"
                      R"("Other":{"d":"4"}})"),
              ElementsAre("S a=1", "K b=2", "D c=3"));
  EXPECT_THAT(itemsOf("{}"), IsEmpty());
  EXPECT_THAT(itemsOf(R"({"Source":"x","Key":[{"a":1}],"Data":null})"), IsEmpty());
}

TEST(MessageReader, KeepsNumbersAndBooleansAsTheyAreWritten) {
  const std::string digits(400, '7');
  EXPECT_THAT(
      itemsOf(
          R"({"Data":{"a":15.0,"b":1e3,"c":-0,"d":true,"e":false,"f":1e999,"g":-2.50E+07,"h":)" +
          digits + "}}"),
      ElementsAre("D a=15.0", "D b=1e3", "D c=-0", "D d=true", "D e=false", "D f=1e999",
                  "D g=-2.50E+07", "D h=" + digits));
}

TEST(MessageReader, ResolvesTheEscapesOfNamesAndValues) {
  EXPECT_THAT(itemsOf(R"({"Data":{"a\u0062":"\"\\\/\b\f\n\r\t\u00e9\uD83D\ude00","z":"\u0000"}})"),
              ElementsAre("D ab=\"\\/\b\f\n\r\t\u00e9\U0001F600", "D z="s + '\0'));
  EXPECT_THAT(itemsOf(R"({"S\u006furce":{"x":"y"}})"), ElementsAre("S x=y"));
}

TEST(MessageReader, ResolvesTheFirstAndTheLastSurrogatePair) {
  EXPECT_THAT(itemsOf(R"({"Data":{"a":"\ud800\udc00","b":"\udbff\udfff"}})"),
              ElementsAre("D a=\U00010000", "D b=\U0010FFFF"));
  // One below and one above, on either side, are no pairs.
  EXPECT_THAT(itemsOf(R"({"Data":{"a":"\ud7ff\udc00","b":"\udc00\udc00"}})"),
              ElementsAre("D a=\xED\x9F\xBF\xED\xB0\x80", "D b=\xED\xB0\x80\xED\xB0\x80"));
  EXPECT_THAT(itemsOf(R"({"Data":{"a":"\ud800\udbff","b":"\ud800\ue000"}})"),
              ElementsAre("D a=\xED\xA0\x80\xED\xAF\xBF", "D b=\xED\xA0\x80\xEE\x80\x80"));
}

TEST(MessageReader, MakesHalfOfASurrogatePairTextThatEqualsNoUtf8) {
  EXPECT_THAT(itemsOf(R"({"Data":{"a":"\ud800","b":"\udc00\ud800x","c":"\ud800\u0041"}})"),
              ElementsAre("D a=\xED\xA0\x80", "D b=\xED\xB0\x80\xED\xA0\x80x",
                          "D c=\xED\xA0\x80"
                          "A"));
}

TEST(MessageReader, TakesObjectsArraysAndNullAsElementsWithNothingInside) {
  EXPECT_THAT(itemsOf(R"({"Data":{"o":{"in":"1","Data":{"x":"2"}},"a":["1",{"y":2}],"n":null}})"),
              ElementsAre("D o element", "D a element", "D n element"));
}

TEST(MessageReader, CountsEveryMemberOfADoubledName) {
  EXPECT_THAT(itemsOf(R"({"Data":{"a":"1","a":"2"},"Data":{"a":{}}})"),
              ElementsAre("D a=1", "D a=2", "D a element"));
}

TEST(MessageReader, GivesTheBytesOfSource) {
  const auto sourceOf = [](const std::string& payload) {
    MessageReader reader;
    std::string error;
    const auto message = reader.read(payload, error);
    return message ? std::string(message->source()) : error;
  };
  EXPECT_EQ(sourceOf(R"({"Source" : { "a" : [ 1 ] }  , "Data":{}})"), R"({ "a" : [ 1 ] })");
  EXPECT_EQ(sourceOf(R"({"Data":{},"Source":{"a":"}"} } )"), R"({"a":"}"})");
  EXPECT_EQ(sourceOf(R"({"Source":[1, 2] })"), "[1, 2]");
  EXPECT_EQ(sourceOf(R"({"Source": "x" })"), R"("x")");
  EXPECT_EQ(sourceOf(R"({"Source": 15.0 })"), "15.0");
  EXPECT_EQ(sourceOf(R"({"Source":{"a":1},"Source":{}})"), "{}");
  EXPECT_EQ(sourceOf(R"({"Data":{"Source":{}}})"), "");
}

TEST(MessageReader, KeepsThePayloadByteForByte) {
  MessageReader reader;
  std::string error;
  const std::string payload = " {\"Data\" :\t{\"\xC3\xA9\":1.50}}\r\n";
  const auto message = reader.read(payload, error);
  ASSERT_TRUE(message) << error;
  EXPECT_EQ(message->payload(), payload);
}

TEST(MessageReader, AMessageOutlivesItsReaderAndTheNextMessage) {
  std::string error;
  std::shared_ptr<const model::Message> message;
  {
    MessageReader reader;
    message = reader.read(R"({"Data":{"a\n":"b\n"}})", error);
    ASSERT_TRUE(reader.read(R"({"Data":{"x\n":"y\n"}})", error));
  }
  EXPECT_EQ(message->items().at(0).name, "a\n");
  EXPECT_EQ(message->items().at(0).value, "b\n");
}

TEST(MessageReader, NestsUpToTheLimitAndNoFurther) {
  EXPECT_THAT(itemsOf(nested(MessageReader::kMaxDepth - 2)), ElementsAre("D x element"));
  EXPECT_EQ(faultOf(nested(MessageReader::kMaxDepth - 1)),
            "byte 1012: more than 1000 objects and arrays within each other");
  EXPECT_THAT(faultOf(nested(500'000)), StartsWith("byte 1012: more than"));
}

TEST(MessageReader, RefusesWhatIsNoObject) {
  for (const std::string& payload : {""s, " "s, "[]"s, "1"s, "\"x\""s, "null"s, "x"s, "}"s}) {
    EXPECT_THAT(faultOf(payload), ::testing::HasSubstr("not a JSON object")) << payload;
  }
  EXPECT_EQ(faultOf("\xEF\xBB\xBF{}"), "byte 1: not a JSON object");
}

TEST(MessageReader, RefusesWhatIsNoJson) {
  const std::vector<std::string> bodies = {"{",
                                           "{\"a\"",
                                           "{\"a\":",
                                           "{\"a\":1",
                                           "{\"a\":1,}",
                                           "{,}",
                                           "{\"a\":}",
                                           "{\"a\" 1}",
                                           "{\"a\":1 2}",
                                           "{\"a\":1,\"b\"}",
                                           "{a:1}",
                                           "{'a':1}",
                                           "{\"a\":[1}",
                                           "{\"a\":[}",
                                           "{\"a\":[1,]}",
                                           "{\"a\":[,1]}",
                                           "{\"a\":[1 2]}",
                                           "{\"a\":{]}",
                                           "{\"a\":01}",
                                           "{\"a\":+1}",
                                           "{\"a\":1.}",
                                           "{\"a\":.5}",
                                           "{\"a\":1e}",
                                           "{\"a\":1e+}",
                                           "{\"a\":-}",
                                           "{\"a\":0x1}",
                                           "{\"a\":NaN}",
                                           "{\"a\":nul}",
                                           "{\"a\":nullx}",
                                           "{\"a\":True}",
                                           "{\"a\":truefalse}",
                                           "{\"a\":\"\\x\"}",
                                           "{\"a\":\"\\u12g4\"}",
                                           "{\"a\":\"\\u123\"}",
                                           "{\"\\q\":1}",
                                           "{\"a\":\"x",
                                           "{\"a\":\"x\\\"}",
                                           "{\"a\":\"x\"y}",
                                           "{\"a\":\"x\" \"y\"}",
                                           "{\"a\":1}}",
                                           "{\"a\":1}{}",
                                           "{}x",
                                           "{} 1",
                                           "{},",
                                           "{\"a\":1}]",
                                           "{\"a\":\"x\":1}",
                                           "{\"a\":[\"x\":1]}",
                                           "{\"a\":[1:2]}",
                                           "{\"a\":1/*c*/}",
                                           "{\"a\":1}//",
                                           "{\"a\"::1}",
                                           "{\"a\":[1,[2],{\"b\":tru}]}",
                                           "{1:2}",
                                           "{null:1}",
                                           "{[]:1}",
                                           "{\"a\":\"\t\"}",
                                           "{\"a\":\"\x01\"}",
                                           "{\"a\":1\f}",
                                           "{\"a\":\"\n\"}"};
  for (const std::string& body : bodies) {
    for (const std::string& payload : {body, "{\"Data\":" + body + "}", "{\"x\":[" + body + "]}"}) {
      EXPECT_THAT(faultOf(payload), StartsWith("byte ")) << payload;
    }
  }
  for (const std::string& payload :
       {"{}\0"s, "{\0}"s, "\0{}"s, "{\"a\":\"\0\"}"s, "{\"a\":1\0}"s}) {
    EXPECT_THAT(faultOf(payload), StartsWith("byte "));
  }
}

TEST(MessageReader, RefusesInvalidUtf8WhereverItStands) {
  for (const std::string& bytes : {"\xFF"s, "\xC3"s, "\xC0\x80"s, "\xED\xA0\x80"s,
                                   "\xF4\x90\x80\x80"s, "\x80"s, "\xE2\x82"s, "\xF0\x9F\x98"s}) {
    EXPECT_EQ(faultOf("{\"a\":\"" + bytes + "\"}"), "byte 7: not valid UTF-8");
    EXPECT_EQ(faultOf("{\"" + bytes + "\":1}"), "byte 3: not valid UTF-8");
    EXPECT_THAT(faultOf("{}" + bytes), StartsWith("byte "));
  }
}

TEST(MessageReader, NamesTheByteOfAFault) {
  EXPECT_EQ(faultOf("{\"a\":1} x"), "byte 9: not the end of a JSON object");
  EXPECT_EQ(faultOf("{\"a\":1} {}"), "byte 9: something after the object");
  EXPECT_EQ(faultOf("{\"a\":1,}"),
            "byte 8: not JSON: brackets, commas or colons are not as they must be");
  EXPECT_EQ(faultOf("{\"Data\":{\"a\":01}}"), "byte 14: not a JSON value");
  EXPECT_EQ(faultOf("{\"Data\":{\"a\":\"x\\y\"}}"), "byte 16: an escape that JSON does not have");
  EXPECT_EQ(faultOf("{\"a\":\"b"), "byte 6: a string without an end");
  EXPECT_EQ(faultOf("{\"a\":\"b\nc\"}"), "byte 8: a control character in a string");
  EXPECT_EQ(faultOf(std::string("{\"a\":\"b\0c\"}", 11)),
            "byte 8: a control character in a string");
  EXPECT_EQ(faultOf("{\n\"a\"\n:\n\"b\nc\"}"), "byte 11: a control character in a string");
  EXPECT_EQ(faultOf("{\"a\":\"b\"\"c\nd\"}"), "byte 11: a control character in a string");
}

}  // namespace
