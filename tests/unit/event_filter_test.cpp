// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "events/event_filter.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <type_traits>

#include "events/filter_exception.h"
#include "tests/doubles/recording_platform.h"
#include "tests/unit/recorded_log.h"

using doubles::Failure;
using doubles::RecordingPlatform;
using testing::ElementsAre;
using testing::IsEmpty;
using unit::takeRecord;

namespace {

constexpr const char* kTopicDialect = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet";
constexpr const char* kContentDialect =
    "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter";

std::string addTopic(const std::string& text) {
  return std::string("wse_filter_add_topic_expression(filter1, tns1, tnsovra, ") + kTopicDialect +
         ", " + text + ") = TRUE";
}

std::string addContent(const std::string& text) {
  return std::string("wse_filter_add_message_content(filter1, ") + kContentDialect + ", " + text +
         ") = TRUE";
}

class EventFilterTest : public testing::Test {
 protected:
  EventFilterTest() { platform_.reset(); }
  ~EventFilterTest() override {
    EXPECT_EQ(platform_.outstanding(), doubles::Outstanding{});
    EXPECT_THAT(takeRecord(), IsEmpty());
  }

  /// The text of the exception that must come.
  static std::string failConversion(EventFilter& filter) {
    SubscribeExpression* expression = nullptr;
    try {
      filter.createSubscribeExpression(&expression);
    } catch (const FilterException& exception) {
      EXPECT_EQ(expression, nullptr);
      return exception.what();
    }
    return "no exception";
  }

  static std::string failConversion(const Failure& failure) {
    RecordingPlatform::instance().fail("wse_filter_to_subscription", 1, failure);
    std::string text;
    {
      EventFilter filter;
      text = failConversion(filter);
    }
    EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1",
                                          "wse_filter_to_subscription(filter1) = FALSE",
                                          "wse_filter_free(filter1)"));
    return text;
  }

  RecordingPlatform& platform_ = RecordingPlatform::instance();

 private:
  unit::RecordedLog log_;
};

TEST_F(EventFilterTest, HandsBothTextsToTheLibraryWithPrefixesAndDialects) {
  SubscribeExpression* expression = nullptr;
  {
    EventFilter filter;
    filter.setTopicFilter("tns1:Device//.");
    filter.setContentFilter("boolean(//tt:SimpleItem)");
    filter.createSubscribeExpression(&expression);
  }
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1", addTopic("tns1:Device//."),
                                        addContent("boolean(//tt:SimpleItem)"),
                                        "wse_filter_to_subscription(filter1) = expression1",
                                        "wse_filter_free(filter1)"));
  subscribe_expression_free(expression);
  EXPECT_THAT(takeRecord(), ElementsAre("subscribe_expression_free(expression1)"));
}

TEST_F(EventFilterTest, NamesTheDialectsOfTheOnvifEventService) {
  EXPECT_EQ(std::string(kTopicDialect).size(), 58U);
  EXPECT_EQ(std::string(kContentDialect).size(), 62U);
}

TEST_F(EventFilterTest, PassesEveryTopicTextOnAsItIs) {
  for (const char* text : {"tnsovra:Own", "no prefix", " ", "a|b", "\"'<&\\\n", "tns9:X"}) {
    platform_.reset();
    { EventFilter().setTopicFilter(text); }
    EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1", addTopic(text),
                                          "wse_filter_free(filter1)"));
  }
}

TEST_F(EventFilterTest, AddsNothingForNullAndEmptyTexts) {
  {
    EventFilter filter;
    filter.setTopicFilter(nullptr);
    filter.setTopicFilter("");
    filter.setContentFilter(nullptr);
    filter.setContentFilter("");
  }
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1", "wse_filter_free(filter1)"));
}

TEST_F(EventFilterTest, AddsOneTextWhenTheOtherIsEmpty) {
  {
    EventFilter filter;
    filter.setTopicFilter("T");
    filter.setContentFilter("");
  }
  EXPECT_THAT(takeRecord(),
              ElementsAre("wse_filter_new() = filter1", addTopic("T"), "wse_filter_free(filter1)"));
  platform_.reset();
  {
    EventFilter filter;
    filter.setTopicFilter("");
    filter.setContentFilter("C");
  }
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1", addContent("C"),
                                        "wse_filter_free(filter1)"));
}

TEST_F(EventFilterTest, LetsTheLibraryJudgeAFilterToWhichNothingWasAdded) {
  SubscribeExpression* expression = nullptr;
  { EventFilter().createSubscribeExpression(&expression); }
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1",
                                        "wse_filter_to_subscription(filter1) = expression1",
                                        "wse_filter_free(filter1)"));
  subscribe_expression_free(expression);
  takeRecord();
}

TEST_F(EventFilterTest, DoesNotLookAtTheResultsOfTheAddCalls) {
  platform_.fail("wse_filter_add_topic_expression");
  platform_.fail("wse_filter_add_message_content");
  SubscribeExpression* expression = nullptr;
  {
    EventFilter filter;
    filter.setTopicFilter("T");
    filter.setContentFilter("C");
    EXPECT_NO_THROW(filter.createSubscribeExpression(&expression));
  }
  ASSERT_NE(expression, nullptr);
  subscribe_expression_free(expression);
  takeRecord();
}

TEST_F(EventFilterTest, ThrowsTheLibrarysTextUnchanged) {
  for (const char* text : {"unknown prefix at character 5", " ", "100 % \"quoted\"\n", "%s%n"}) {
    platform_.reset();
    EXPECT_EQ(failConversion({Failure::How::kError, text}), text);
  }
}

TEST_F(EventFilterTest, ThrowsAFixedTextWhenTheLibraryGivesNoReason) {
  for (const Failure& failure :
       {Failure{Failure::How::kNoError, ""}, Failure{Failure::How::kError, ""},
        Failure{Failure::How::kNullMessage, ""}}) {
    platform_.reset();
    EXPECT_EQ(failConversion(failure), "The filter library gave no reason");
  }
}

TEST_F(EventFilterTest, FreesTheFilterAlsoWhenTheConversionThrowsSomethingElse) {
  platform_.fail("wse_filter_to_subscription", 1, {Failure::How::kThrow, "broken"});
  SubscribeExpression* expression = nullptr;
  EXPECT_THROW(EventFilter().createSubscribeExpression(&expression), std::runtime_error);
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1",
                                        "wse_filter_to_subscription(filter1) = exception",
                                        "wse_filter_free(filter1)"));
}

TEST_F(EventFilterTest, UsesTheLibrarysHandleWithoutACheck) {
  platform_.fail("wse_filter_new");
  { EventFilter().setContentFilter("C"); }
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = null",
                                        std::string("wse_filter_add_message_content(null, ") +
                                            kContentDialect + ", C) = TRUE",
                                        "wse_filter_free(null)"));
}

TEST_F(EventFilterTest, SharesNoHandleAndOutlivesNoExpression) {
  SubscribeExpression* first = nullptr;
  SubscribeExpression* second = nullptr;
  {
    EventFilter one;
    EventFilter two;
    one.createSubscribeExpression(&first);
    two.createSubscribeExpression(&second);
  }
  EXPECT_THAT(takeRecord(), ElementsAre("wse_filter_new() = filter1", "wse_filter_new() = filter2",
                                        "wse_filter_to_subscription(filter1) = expression1",
                                        "wse_filter_to_subscription(filter2) = expression2",
                                        "wse_filter_free(filter2)", "wse_filter_free(filter1)"));
  EXPECT_EQ(platform_.outstanding().expressions, 2U);
  subscribe_expression_free(first);
  subscribe_expression_free(second);
  takeRecord();
}

TEST_F(EventFilterTest, CannotBeCopiedOrMoved) {
  EXPECT_FALSE(std::is_copy_constructible_v<EventFilter>);
  EXPECT_FALSE(std::is_copy_assignable_v<EventFilter>);
  EXPECT_FALSE(std::is_move_constructible_v<EventFilter>);
}

}  // namespace
