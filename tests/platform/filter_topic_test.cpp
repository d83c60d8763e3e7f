// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/topic.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

#include "platform/host/model/topic_index.h"

namespace {

using model::Topic;
using model::topicFromLocal;
using model::TopicIndex;
using model::TopicPattern;
using model::topicText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Topic, BothWaysToWriteTheOnvifNamespaceAreOneTopic) {
  EXPECT_EQ(topicFromLocal("Device/Trigger"), topicFromLocal("tns1:Device/Trigger"));
  EXPECT_EQ(topicFromLocal("Device/Trigger"), topicFromLocal("tns1:Device/tns1:Trigger"));
  EXPECT_THAT(topicFromLocal("Device/Trigger").segments, ElementsAre("tns1:Device", "Trigger"));
}

TEST(Topic, OtherNamespacesKeepTheirPrefix) {
  EXPECT_THAT(topicFromLocal("Device/acme:Lens").segments, ElementsAre("tns1:Device", "acme:Lens"));
  EXPECT_THAT(topicFromLocal("acme:Device/acme:Lens/tns1:X/Y").segments,
              ElementsAre("acme:Device", "Lens", "tns1:X", "Y"));
  EXPECT_FALSE(topicFromLocal("acme:Device") == topicFromLocal("Device"));
}

TEST(Topic, OddLocalPartsAreTopicsOfTheirOwn) {
  EXPECT_THAT(topicFromLocal("").segments, ElementsAre("tns1:"));
  EXPECT_THAT(topicFromLocal("a//b/").segments, ElementsAre("tns1:a", "", "b", ""));
  EXPECT_THAT(topicFromLocal(":a/:b").segments, ElementsAre("tns1::a", ":b"));
}

TEST(Topic, TextHasThePrefixInFrontAndTheRestAsWritten) {
  EXPECT_EQ(topicText("Device/Trigger"), "tns1:Device/Trigger");
  EXPECT_EQ(topicText("tns1:Device/tns1:Trigger"), "tns1:Device/tns1:Trigger");
  EXPECT_EQ(topicText("acme:Device/Trigger"), "acme:Device/Trigger");
  EXPECT_EQ(topicText("Device/acme:Trigger"), "tns1:Device/acme:Trigger");
}

TEST(Topic, MatchesBySegmentAndNotByTextPrefix) {
  const TopicPattern tree{topicFromLocal("Device/Trigger"), true};
  EXPECT_TRUE(tree.matches(topicFromLocal("Device/Trigger")));
  EXPECT_TRUE(tree.matches(topicFromLocal("Device/Trigger/DigitalInput/x")));
  EXPECT_FALSE(tree.matches(topicFromLocal("Device/Triggers")));
  EXPECT_FALSE(tree.matches(topicFromLocal("Device")));
  EXPECT_FALSE(tree.matches(topicFromLocal("device/Trigger")));
  const TopicPattern exact{topicFromLocal("Device/Trigger"), false};
  EXPECT_TRUE(exact.matches(topicFromLocal("tns1:Device/Trigger")));
  EXPECT_FALSE(exact.matches(topicFromLocal("Device/Trigger/DigitalInput")));
}

TEST(TopicIndex, GivesEachSubscriptionOnceAndInTheirOrder) {
  TopicIndex index;
  const Topic topic = topicFromLocal("a/b/c");
  index.add(3, {});
  index.add(2, {{topic, false}, {topic, true}, {topicFromLocal("a"), true}});
  index.add(1, {{topicFromLocal("a/b"), true}});
  index.add(4, {{topicFromLocal("a/b"), false}});
  EXPECT_THAT(index.match(topic), ElementsAre(1, 2, 3));
  EXPECT_THAT(index.match(topicFromLocal("a/b")), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(index.match(topicFromLocal("x")), ElementsAre(3));
}

TEST(TopicIndex, RemovesWhatWasAddedAndKeepsNothing) {
  TopicIndex index;
  const std::vector<TopicPattern> one{{topicFromLocal("a/b"), true}, {topicFromLocal("a"), false}};
  index.add(1, one);
  index.add(2, one);
  index.add(3, {});
  index.remove(1, one);
  index.remove(1, one);
  index.remove(9, {{topicFromLocal("never/there"), true}});
  EXPECT_THAT(index.match(topicFromLocal("a/b/c")), ElementsAre(2, 3));
  index.remove(2, one);
  index.remove(3, {});
  EXPECT_THAT(index.match(topicFromLocal("a")), IsEmpty());
  EXPECT_EQ(index.size(), 0U);
}

TEST(TopicIndex, StandsTopicsOfAnyDepth) {
  std::string deep = "a";
  for (int i = 0; i < 32'000; ++i) {
    deep += "/a";
  }
  TopicIndex index;
  index.add(1, {{topicFromLocal(deep), true}});
  EXPECT_THAT(index.match(topicFromLocal(deep + "/b")), ElementsAre(1));
  EXPECT_THAT(index.match(topicFromLocal("a/a")), IsEmpty());
}

/// A topic over few names, so that many patterns and topics meet.
Topic randomTopic(std::mt19937& random) {
  static constexpr const char* kNames[] = {"a", "b", "tns1:a", "x:a", "x:b", "", "ab"};
  std::string local;
  for (auto segments = 1 + random() % 5; segments > 0; --segments) {
    local += kNames[random() % std::size(kNames)];
    local += segments > 1 ? "/" : "";
  }
  return topicFromLocal(local);
}

TEST(TopicIndex, FindsWhatGoingThroughAllSubscriptionsFinds) {
  std::mt19937 random(1);
  TopicIndex index;
  std::vector<std::vector<TopicPattern>> subscriptions;
  for (unsigned step = 0; step < 3000; ++step) {
    if (random() % 3 != 0 || subscriptions.empty()) {
      std::vector<TopicPattern> patterns;
      for (auto count = random() % 4; count > 0; --count) {
        patterns.push_back({randomTopic(random), random() % 2 == 0});
      }
      index.add(static_cast<unsigned>(subscriptions.size()), patterns);
      subscriptions.push_back(patterns);
    } else {
      const auto victim = random() % subscriptions.size();
      index.remove(static_cast<unsigned>(victim), subscriptions[victim]);
      subscriptions[victim] = {{Topic{}, false}};
    }
    const Topic topic = randomTopic(random);
    std::vector<unsigned> expected;
    for (unsigned id = 0; id < subscriptions.size(); ++id) {
      bool matches = subscriptions[id].empty();
      for (const TopicPattern& pattern : subscriptions[id]) {
        matches = matches || pattern.matches(topic);
      }
      if (matches) {
        expected.push_back(id);
      }
    }
    ASSERT_EQ(index.match(topic), expected) << "step " << step;
  }
}

}  // namespace
