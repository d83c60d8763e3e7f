// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>

#include "filter_support.h"
#include "platform/host/filter/concrete_set.h"
#include "platform/host/filter/item_filter.h"

namespace {

using test::addContent;
using test::addTopic;
using test::convert;
using test::FilterPtr;

constexpr const char* kConcreteSet = filter::kConcreteSetDialect.data();
constexpr const char* kItemFilter = filter::kItemFilterDialect.data();

bool matches(const test::Conversion& conversion, const char* local, const std::string& payload) {
  return conversion.matcher->matchesTopic(model::topicFromLocal(local)) &&
         conversion.matcher->matchesContent(*test::message(payload));
}

TEST(FilterSubscription, NothingAddedMatchesEveryEvent) {
  const FilterPtr filter(wse_filter_new());
  EXPECT_TRUE(matches(convert(filter.get()), "a/b", "{}"));
  EXPECT_TRUE(matches(convert(filter.get()), "tnsovra:x", R"({"Data":{"a":1}})"));
}

TEST(FilterSubscription, SeveralTopicExpressionsAreAlternatives) {
  const FilterPtr filter(wse_filter_new());
  EXPECT_TRUE(addTopic(filter.get(), "tns1:A"));
  EXPECT_TRUE(addTopic(filter.get(), "tns1:B//.|tns1:C"));
  const auto conversion = convert(filter.get());
  EXPECT_TRUE(matches(conversion, "A", "{}"));
  EXPECT_TRUE(matches(conversion, "B/x", "{}"));
  EXPECT_TRUE(matches(conversion, "C", "{}"));
  EXPECT_FALSE(matches(conversion, "D", "{}"));
}

TEST(FilterSubscription, SeveralContentsMustAllHold) {
  const FilterPtr filter(wse_filter_new());
  EXPECT_TRUE(addContent(filter.get(), "boolean(//SimpleItem[@Name='a'])"));
  EXPECT_TRUE(addContent(filter.get(), "boolean(//SimpleItem[@Name='b'])"));
  const auto conversion = convert(filter.get());
  EXPECT_TRUE(matches(conversion, "x", R"({"Data":{"a":1,"b":2}})"));
  EXPECT_FALSE(matches(conversion, "x", R"({"Data":{"a":1}})"));
  EXPECT_FALSE(matches(conversion, "x", R"({"Data":{"b":1}})"));
}

TEST(FilterSubscription, TopicAndContentMustBothHold) {
  const FilterPtr filter(wse_filter_new());
  addTopic(filter.get(), "tns1:A");
  addContent(filter.get(), "boolean(//SimpleItem[@Name='a'])");
  const auto conversion = convert(filter.get());
  EXPECT_TRUE(matches(conversion, "A", R"({"Data":{"a":1}})"));
  EXPECT_FALSE(matches(conversion, "B", R"({"Data":{"a":1}})"));
  EXPECT_FALSE(matches(conversion, "A", "{}"));
}

TEST(FilterSubscription, TheFirstFaultIsReportedWhateverWasAddedAfterIt) {
  const FilterPtr filter(wse_filter_new());
  EXPECT_TRUE(addTopic(filter.get(), "tns1:A"));
  EXPECT_FALSE(addContent(filter.get(), "boolean("));
  EXPECT_FALSE(addTopic(filter.get(), "tns1:A|"));
  EXPECT_TRUE(addContent(filter.get(), "boolean(//SimpleItem[@Name='a'])"));
  const char* first = "message content, character 9: expected \"//\", found the end";
  EXPECT_EQ(convert(filter.get()).error, first);
  EXPECT_EQ(convert(filter.get()).error, first) << "the conversion left the filter unchanged";
}

TEST(FilterSubscription, AFilterMayGrowAfterAConversionAndBeFreedBeforeItsExpressions) {
  FilterPtr filter(wse_filter_new());
  addTopic(filter.get(), "tns1:A");
  const auto before = convert(filter.get());
  addTopic(filter.get(), "tns1:B");
  const auto after = convert(filter.get());
  filter.reset();
  EXPECT_FALSE(matches(before, "B", "{}"));
  EXPECT_TRUE(matches(after, "B", "{}"));
}

TEST(FilterSubscription, AWrongDialectIsRefused) {
  const FilterPtr topic(wse_filter_new());
  EXPECT_FALSE(
      wse_filter_add_topic_expression(topic.get(), "tns1", "tnsovra", kItemFilter, "tns1:A"));
  EXPECT_EQ(convert(topic.get()).error,
            "topic expression, expected the dialect "
            "\"http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet\", found "
            "\"http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter\"");
  const FilterPtr content(wse_filter_new());
  EXPECT_FALSE(
      wse_filter_add_message_content(content.get(), "\xFF", "boolean(//SimpleItem[@Name='a'])"));
  EXPECT_EQ(convert(content.get()).error,
            "message content, expected the dialect "
            "\"http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter\", found \"\uFFFD\"");
}

TEST(FilterSubscription, DialectsCompareWhole) {
  for (const std::string& dialect :
       {std::string(), std::string(kConcreteSet) + "/", std::string(kConcreteSet, 10)}) {
    const FilterPtr filter(wse_filter_new());
    EXPECT_FALSE(wse_filter_add_topic_expression(filter.get(), "tns1", "tnsovra", dialect.c_str(),
                                                 "tns1:A"));
    EXPECT_THAT(convert(filter.get()).error, ::testing::HasSubstr("expected the dialect"));
  }
}

TEST(FilterSubscription, NullTextsMakeTheConversionFail) {
  const FilterPtr no_text(wse_filter_new());
  EXPECT_FALSE(wse_filter_add_message_content(no_text.get(), kItemFilter, nullptr));
  EXPECT_EQ(convert(no_text.get()).error, "message content, no text");
  const FilterPtr no_dialect(wse_filter_new());
  EXPECT_FALSE(
      wse_filter_add_topic_expression(no_dialect.get(), "tns1", "tnsovra", nullptr, "tns1:A"));
  EXPECT_EQ(convert(no_dialect.get()).error, "topic expression, no dialect");
  const FilterPtr no_prefix(wse_filter_new());
  EXPECT_TRUE(
      wse_filter_add_topic_expression(no_prefix.get(), nullptr, nullptr, kConcreteSet, "A/B"));
  EXPECT_FALSE(
      wse_filter_add_topic_expression(no_prefix.get(), nullptr, nullptr, kConcreteSet, "tns1:A"));
}

TEST(FilterSubscription, NullFiltersAndPlacesAreErrorsAndNoCrash) {
  wse_filter_free(nullptr);
  EXPECT_FALSE(addTopic(nullptr, "tns1:A"));
  EXPECT_FALSE(addContent(nullptr, "boolean(//SimpleItem[@Name='a'])"));
  EXPECT_EQ(convert(nullptr).error, "no filter");
  const FilterPtr filter(wse_filter_new());
  common::GErrorPtr error;
  EXPECT_FALSE(wse_filter_to_subscription(filter.get(), nullptr, common::GErrorOut(error)));
  EXPECT_STREQ(error->message, "no place for the expression");
}

TEST(FilterSubscription, AFailedConversionLeavesTheExpressionAloneAndNeedsNoErrorPlace) {
  const FilterPtr filter(wse_filter_new());
  addTopic(filter.get(), "|");
  SubscribeExpression mine;
  SubscribeExpression* expression = &mine;
  EXPECT_FALSE(wse_filter_to_subscription(filter.get(), &expression, nullptr));
  EXPECT_EQ(expression, &mine);
}

}  // namespace
