// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "filter_oracles.h"
#include "filter_random.h"
#include "filter_support.h"

namespace {

using test::FilterRandom;

/// How much of each comparison: LUMENFEED_FILTER_PAIRS pairs of filter and event.
std::size_t pairs() {
  const char* wanted = std::getenv("LUMENFEED_FILTER_PAIRS");
  return wanted == nullptr ? 20'000 : std::strtoull(wanted, nullptr, 10);
}

constexpr std::size_t kEvents = 100;

const std::vector<std::string> kContentPieces = {
    " ",           "\t",         "\n", "(",       ")",      "[",       "]",   "//",   "/",
    "@",           "=",          "!=", "<",       "\"",     "'",       "and", "or",   "not",
    "tt:",         "x:",         ":",  "boolean", "Name",   "Value",   "'x'", "\"\"", "not(",
    "and not",     "SimpleItem", "*",  "|",       "..",     "1",       "a",   "-",    "\u00fc",
    "ElementItem", "(: :)",      "$x", "not()",   "last()", "boolean("};
const std::vector<std::string> kTopicPieces = {
    " ",     "\t",       "/",  "//",     "//.", "|", "*",  ".",  "a", "1",    "-", ":",
    "tns1:", "tnsovra:", "x:", "\u00fc", "[",   "(", "||", "/a", "_", "tns1", "+", "#"};

struct Event {
  std::shared_ptr<const model::Message> message;
  std::unique_ptr<test::XmlEvent> xml;
  std::string payload;
};

std::vector<Event> events(FilterRandom& random) {
  std::vector<Event> events;
  while (events.size() < kEvents) {
    const test::RandomEvent event = random.event();
    events.push_back({test::message(event.payload), std::make_unique<test::XmlEvent>(event.items),
                      event.payload});
  }
  return events;
}

TEST(FilterDifferential, ContentDecidesAsXPathDoes) {
  FilterRandom random(20260101);
  std::size_t matched = 0;
  for (std::size_t done = 0; done < pairs(); done += kEvents * kEvents) {
    const std::vector<Event> all = events(random);
    for (std::size_t filter = 0; filter < kEvents; ++filter) {
      const std::string text = random.content();
      const test::Conversion ours = test::convertContent(text);
      ASSERT_TRUE(ours.matcher) << text << "\n" << ours.error;
      const test::XPathOracle theirs(text);
      for (const Event& event : all) {
        const bool match = ours.matcher->matchesContent(*event.message);
        ASSERT_EQ(match, theirs.matches(*event.xml)) << text << "\n" << event.payload;
        matched += match ? 1U : 0U;
      }
    }
  }
  RecordProperty("matched", std::to_string(matched));
  EXPECT_GT(matched, pairs() / 10) << "events and filters hardly meet";
  EXPECT_LT(matched, pairs() / 10 * 9) << "nearly everything matches";
}

TEST(FilterDifferential, ContentTakesTheDialectAndNothingElse) {
  FilterRandom random(20260102);
  const std::vector<Event> all = events(random);
  std::size_t taken = 0;
  for (std::size_t done = 0; done < pairs() / 4; ++done) {
    const std::string text = random.mutated(random.content(1), kContentPieces);
    const test::Conversion ours = test::convertContent(text);
    const bool valid_utf8 = g_utf8_validate(text.c_str(), -1, nullptr) != FALSE;
    ASSERT_EQ(ours.matcher != nullptr, valid_utf8 && test::isItemFilter(text)) << text << "\n"
                                                                               << ours.error;
    if (ours.matcher) {
      ++taken;
      const test::XPathOracle theirs(text);
      ASSERT_TRUE(theirs.valid()) << text;
      const Event& event = random.pick(all);
      ASSERT_EQ(ours.matcher->matchesContent(*event.message), theirs.matches(*event.xml))
          << text << "\n"
          << event.payload;
    }
  }
  EXPECT_GT(taken, pairs() / 100) << "the changes hardly ever leave a filter usable";
}

TEST(FilterDifferential, TopicsMatchAsComparingTheirTextsDoes) {
  FilterRandom random(20260103);
  std::size_t matched = 0;
  for (std::size_t done = 0; done < pairs(); ++done) {
    const std::string text = random.topic();
    const std::string local = random.localTopic();
    const std::string verdict = test::topicVerdict(text, local);
    ASSERT_EQ(verdict, test::naiveTopicMatch(text, local) ? "yes" : "no") << text << "\n" << local;
    matched += verdict == "yes" ? 1U : 0U;
  }
  EXPECT_GT(matched, pairs() / 20) << "topics and filters hardly meet";
}

TEST(FilterDifferential, TopicsTakeTheDialectAndNothingElse) {
  FilterRandom random(20260104);
  std::size_t taken = 0;
  for (std::size_t done = 0; done < pairs() / 4; ++done) {
    const std::string text = random.mutated(random.topic(), kTopicPieces);
    const test::Conversion ours = test::convertTopic(text);
    const bool valid_utf8 = g_utf8_validate(text.c_str(), -1, nullptr) != FALSE;
    ASSERT_EQ(ours.matcher != nullptr, valid_utf8 && test::isConcreteSet(text)) << text << "\n"
                                                                                << ours.error;
    taken += ours.matcher ? 1U : 0U;
  }
  EXPECT_GT(taken, pairs() / 100) << "the changes hardly ever leave a filter usable";
}

}  // namespace
