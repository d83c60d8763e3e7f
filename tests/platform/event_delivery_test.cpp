// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EventDelivery : public support::EventTest {
 protected:
  void SetUp() override {
    broker_.start();
    consumer_ = support::consumerOf(broker_.address());
    ASSERT_TRUE(waitForLog("Connected to the broker at " + broker_.address()));
    publisher_ = std::make_unique<support::Publisher>(broker_.socketPath());
  }

  support::Broker broker_;
  support::ConsumerPtr consumer_;
  std::unique_ptr<support::Publisher> publisher_;
};

TEST_F(EventDelivery, EventJsonHasTopicOriginAndTheMessageByteForByte) {
  const support::Subscriber all(consumer_.get());
  const std::string message =
      R"( {"UtcTime":"2008-10-10T12:24:57.321Z", "Source":{"VideoSource":"1"},"Data":{"N":1.50e3}} )";
  publisher_->publish("Camera1/onvif-ej/RuleEngine/LineDetector/Crossed/&1", message);
  ASSERT_TRUE(all.waitForEvents(1));
  EXPECT_EQ(all.events().front(),
            R"({"topic":"tns1:RuleEngine/LineDetector/Crossed","origin":"Camera1","message":)" +
                message + "}");
}

TEST_F(EventDelivery, OneSubscriptionSeesEventsInTheOrderInWhichTheyWerePublished) {
  constexpr int kCount = 3000;
  const support::Subscriber all(consumer_.get());
  std::vector<std::string> expected;
  for (int number = 0; number < kCount; ++number) {
    expected.push_back(R"({"Data":{"Number":)" + std::to_string(number) + "}}");
    publisher_->send("Camera1/onvif-ej/Device/Trigger", expected.back());
  }
  publisher_->flush();
  ASSERT_TRUE(all.waitForEvents(kCount));
  const std::vector<std::string> got = all.summary();
  ASSERT_EQ(got.size(), expected.size());
  const auto difference = std::mismatch(got.begin(), got.end(), expected.begin());
  EXPECT_TRUE(difference.first == got.end())
      << *difference.first << " instead of " << *difference.second;
}

}  // namespace
