// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <event2.h>
#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "platform/host/event/configuration.h"
#include "tests/platform/event_support.h"
#include "tests/support/temp_dir.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Config : public ::testing::Test {
 protected:
  /// The error of a file with these lines in [broker]; "" if it is accepted.
  std::string load(const std::string& lines) { return loadText("[broker]\n" + lines + "\n"); }
  std::string loadText(const std::string& text) {
    configuration_ = event::Configuration();
    std::string error;
    configuration_.loadFile(directory_.write("event2.conf", text), error);
    return error;
  }

  support::TempDir directory_;
  event::Configuration configuration_;
};

TEST_F(Config, WithoutSettingsTheBrokerIsOnThisMachineAndEveryPublisherIsWanted) {
  ASSERT_EQ(loadText(""), "");
  EXPECT_EQ(configuration_.host, "localhost");
  EXPECT_EQ(configuration_.port, 1883);
  EXPECT_EQ(configuration_.topicPrefix, "+");
  EXPECT_FALSE(configuration_.isUnixSocket());
}

TEST_F(Config, AnAddressIsAUnixSocketAHostOrAHostWithAPort) {
  ASSERT_EQ(load("address=unix:/run/mosquitto/broker.sock"), "");
  EXPECT_TRUE(configuration_.isUnixSocket());
  EXPECT_EQ(configuration_.host, "/run/mosquitto/broker.sock");
  ASSERT_EQ(load("address=broker.example"), "");
  EXPECT_EQ(configuration_.host, "broker.example");
  EXPECT_EQ(configuration_.port, 1883);
  ASSERT_EQ(load("address=192.0.2.7:8883"), "");
  EXPECT_EQ(configuration_.host, "192.0.2.7");
  EXPECT_EQ(configuration_.port, 8883);
  ASSERT_EQ(load("address=[2001:db8::1]:8883"), "");
  EXPECT_EQ(configuration_.host, "2001:db8::1");
  EXPECT_EQ(configuration_.port, 8883);
  ASSERT_EQ(load("address=[::1]"), "");
  EXPECT_EQ(configuration_.host, "::1");
  EXPECT_EQ(configuration_.port, 1883);
}

TEST_F(Config, AnAddressThatIsNoneIsRefusedWithTheKeyAndTheValue) {
  for (const std::string address :
       {"unix:", "unix:relative", "host:", "host:0", "host:65536", "host:12x", ":1883", "::1",
        "[::1", "[::1]x", "two words", "mqtt://host"}) {
    SCOPED_TRACE(address);
    EXPECT_THAT(load("address=" + address), HasSubstr("[broker] address: \"" + address + "\": "));
  }
  const std::string longPath = "unix:/" + std::string(120, 'x');
  EXPECT_THAT(load("address=" + longPath), HasSubstr("longer than a Unix socket's may be"));
}

TEST_F(Config, ATopicPrefixMustBeTheStartOfAFilter) {
  for (const std::string prefix : {"Camera1", "site/+/camera", "$share/group/+"}) {
    EXPECT_EQ(load("topic-prefix=" + prefix), "") << prefix;
  }
  for (const std::string prefix : {"#", "a/#", "a+", "a/"}) {
    EXPECT_THAT(load("topic-prefix=" + prefix), HasSubstr("[broker] topic-prefix: \"" + prefix))
        << prefix;
  }
}

TEST_F(Config, NothingIsIgnored) {
  EXPECT_THAT(load("adress=localhost"), EndsWith("[broker] adress: unknown key"));
  EXPECT_THAT(loadText("[brokers]\n"), HasSubstr("[brokers]: unknown group"));
  EXPECT_THAT(load("address="), EndsWith("[broker] address: empty"));
  EXPECT_THAT(loadText("[broker]\nnonsense\n"), HasSubstr("nonsense"));
  EXPECT_THAT(load("password-file=" + directory_.write("password", "secret\n")),
              EndsWith("password-file: of no use without username"));
  const std::string file = directory_.write("file.pem", "x");
  EXPECT_THAT(load("ca-file=" + file + "\ncert-file=" + file),
              EndsWith("cert-file: of no use without key-file"));
  EXPECT_THAT(load("ca-file=" + file + "\nkey-file=" + file),
              EndsWith("key-file: of no use without cert-file"));
  EXPECT_THAT(load("cert-file=" + file + "\nkey-file=" + file),
              EndsWith("cert-file: of no use without ca-file"));
  EXPECT_THAT(load("address=unix:/run/x\nca-file=" + file),
              HasSubstr("ca-file: TLS is for host names"));
}

TEST_F(Config, ATextThatMqttWouldRefuseIsRefusedHere) {
  EXPECT_THAT(load("topic-prefix=a\\tb"), HasSubstr("topic-prefix: \"a\tb\": not usable"));
  EXPECT_THAT(load("username=a\\nb"), EndsWith("username: holds a control character, which MQTT "
                                               "does not allow"));
}

TEST_F(Config, APasswordIsTheFilesOneLine) {
  ASSERT_EQ(load("username=me\npassword-file=" + directory_.write("password", "s e\"cret\r\n")),
            "");
  EXPECT_EQ(configuration_.username, "me");
  EXPECT_EQ(configuration_.password, "s e\"cret");
  EXPECT_THAT(load("username=me\npassword-file=" + directory_.write("password", "\n")),
              EndsWith("/password: does not hold one password"));
}

TEST_F(Config, AFileThatItNamesMustBeThere) {
  const std::string missing = directory_.file("missing");
  for (const std::string key : {"password-file", "ca-file", "cert-file", "key-file"}) {
    const std::string error = load(key + "=" + missing);
    EXPECT_THAT(error, StartsWith(directory_.file("event2.conf") + ": [broker] " + key + ": "));
    EXPECT_THAT(error, HasSubstr(missing));
    EXPECT_THAT(error, HasSubstr("No such file or directory"));
  }
  EXPECT_THAT(load("ca-file=" + directory_.path()), HasSubstr("Is a directory"));
  EXPECT_THAT(load("ca-file=/dev/zero"), EndsWith("/dev/zero: not a regular file"));
  EXPECT_THAT(load("username=me\npassword-file=/dev/zero"), EndsWith("not a regular file"));
  EXPECT_THAT(load("ca-file=" + directory_.write("empty", "")), EndsWith("/empty: empty"));
}

/// The same through the public calls, in whose environment the file is named.
class ConfiguredConsumer : public support::EventTest {
 protected:
  static unsigned int subscribe(EventConsumer* consumer) {
    const SubscribeExpression expression{std::make_shared<const model::EventMatcher>()};
    return event_consumer_subscribe(
        consumer, &expression, [](Event* event, void*) { event_free(event); }, nullptr);
  }

  support::TempDir directory_;
};

TEST_F(ConfiguredConsumer, AWrongFileIsOneLogLineAndAConsumerThatRefusesSubscriptions) {
  const std::string path = directory_.write("event2.conf", "[broker]\naddress=host:port\n");
  g_setenv("EVENT2_CONFIG", path.c_str(), TRUE);
  const support::ConsumerPtr consumer(event_consumer_new("test"));
  ASSERT_NE(consumer, nullptr);
  EXPECT_EQ(subscribe(consumer.get()), 0U);
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_THAT(log_.lines().front(), HasSubstr(path + ": [broker] address: \"host:port\""));
}

TEST_F(ConfiguredConsumer, AFileThatTheEnvironmentNamesMustBeThere) {
  g_setenv("EVENT2_CONFIG", directory_.file("missing").c_str(), TRUE);
  const support::ConsumerPtr consumer(event_consumer_new("test"));
  EXPECT_EQ(subscribe(consumer.get()), 0U);
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_THAT(log_.lines().front(), HasSubstr("missing: No such file or directory"));
}

TEST_F(ConfiguredConsumer, AnEmptyNameInTheEnvironmentIsNoFile) {
  g_setenv("EVENT2_CONFIG", "", TRUE);
  const support::ConsumerPtr consumer(event_consumer_new("test"));
  EXPECT_EQ(subscribe(consumer.get()), 0U);
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_THAT(log_.lines().front(), HasSubstr("EVENT2_CONFIG is empty"));
}

TEST_F(ConfiguredConsumer, AUsableFileMakesAConsumerWhetherOrNotTheBrokerIsThere) {
  const std::string path = directory_.write(
      "event2.conf", "[broker]\naddress=unix:" + directory_.file("nobody.sock") + "\n");
  g_setenv("EVENT2_CONFIG", path.c_str(), TRUE);
  const support::ConsumerPtr consumer(event_consumer_new("test"));
  EXPECT_GT(subscribe(consumer.get()), 0U);
}

}  // namespace
