// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "service/dbus_names.h"
#include "tests/integration/service_test.h"
#include "tests/support/long_form.h"

namespace integration {

using support::below;
using support::BusClient;

namespace {

constexpr const char* kInterface = "com.ovra.WSDataStreaming1.DataSource";

/// A call that cannot succeed, whoever sends it.
struct BadCall {
  std::string path = dbus_names::kDataSourceObjectPath;
  std::string interface = kInterface;
  std::string method;
  GVariant* arguments;
};

GVariant* randomValue(std::mt19937& random) {
  const std::string text(below(random, 40) == 0 ? 100'000 : below(random, 30), 'x');
  switch (below(random, 8)) {
    case 0:
      return g_variant_new_int32(static_cast<gint32>(random()));
    case 1:
      return g_variant_new_boolean(TRUE);
    case 2:
      return g_variant_new_double(0.5);
    case 3:
      return g_variant_new_bytestring(text.c_str());
    case 4:
      return g_variant_new_object_path("/");
    case 5:
      return g_variant_new_variant(g_variant_new_string(text.c_str()));
    case 6:
      return g_variant_new_parsed("{'a': <%s>}", text.c_str());
    default:
      return g_variant_new_string(text.c_str());
  }
}

/// Arguments that none of the methods takes: there is always a number in front.
GVariant* wrongArguments(std::mt19937& random) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_TUPLE);
  g_variant_builder_add(&builder, "u", 7U);
  for (std::size_t left = below(random, 8); left > 0; --left) {
    g_variant_builder_add_value(&builder, randomValue(random));
  }
  return g_variant_builder_end(&builder);
}

BadCall badCall(std::mt19937& random) {
  static const char* const kMethods[] = {"CreateSession", "RemoveSession", "HandleRequest"};
  BadCall call;
  call.method = kMethods[below(random, 3)];
  switch (below(random, 5)) {
    case 0:
      call.path += "/" + std::string(1 + below(random, 200), 'p');
      break;
    case 1:
      call.interface += "." + std::string(1 + below(random, 100), 'i');
      break;
    case 2:
      call.method += std::string(1 + below(random, 100), 'm');
      break;
    case 3:
      call.interface = "org.freedesktop.DBus.Properties";
      call.method = below(random, 2) == 0 ? "Get" : "Set";
      break;
    default:
      break;
  }
  call.arguments = wrongArguments(random);
  return call;
}

/// A call of RemoveSession whose text is spoilt on its way to the bus.
void sendSpoilt(GDBusConnection* connection, const char* text, const char* spoilt) {
  const common::GObjectPtr<GDBusMessage> message(g_dbus_message_new_method_call(
      dbus_names::kDataSourceBusName, dbus_names::kDataSourceObjectPath, kInterface,
      "RemoveSession"));
  g_dbus_message_set_body(message.get(), g_variant_new("(s)", "session"));
  g_dbus_message_set_serial(message.get(), 1000);
  gsize size = 0;
  const common::Ptr<guchar, g_free> blob(
      g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr));
  void* const found = memmem(blob.get(), size, text, std::strlen(text));
  ASSERT_NE(found, nullptr);
  std::memcpy(found, spoilt, std::strlen(spoilt));
  GOutputStream* const stream =
      g_io_stream_get_output_stream(g_dbus_connection_get_stream(connection));
  EXPECT_TRUE(g_output_stream_write_all(stream, blob.get(), size, nullptr, nullptr, nullptr));
}

}  // namespace

/// Whatever stands on the bus beside the streaming service, broken or malicious.
class BadInput : public ServiceTest {
 protected:
  /// A whole session, from its opening to its end, works.
  void expectGoodSession() {
    ASSERT_TRUE(client.createSession("good").ok());
    const std::size_t answered = streaming.calls().size();
    ASSERT_TRUE(client.handleRequest("good", topicPayload()).ok());
    ASSERT_TRUE(streaming.waitForCalls(answered + 1));
    EXPECT_EQ(streaming.calls().back(), response("good"));
    ASSERT_TRUE(client.removeSession("good").ok());
    streaming.clear();
  }
};

TEST_F(BadInput, RandomCallsOfForeignersAreRefusedAndTheNextGoodCallIsAnswered) {
  constexpr std::size_t kBatch = 500;
  start();
  std::mt19937 random = support::randomNumbers();
  std::vector<std::unique_ptr<BusClient>> foreigners;
  for (int i = 0; i < 8; ++i) {
    foreigners.push_back(std::make_unique<BusClient>(bus.connect()));
  }
  for (std::size_t sent = 0; sent < support::scaled(10'000); sent += kBatch) {
    std::vector<BusClient::Pending> replies;
    for (std::size_t i = 0; i < kBatch; ++i) {
      const BadCall call = badCall(random);
      replies.push_back(foreigners[below(random, foreigners.size())]->send(
          dbus_names::kDataSourceBusName, call.path, call.interface, call.method, call.arguments));
    }
    for (const BusClient::Pending& reply : replies) {
      EXPECT_NE(BusClient::await(reply).errorName, "");
    }
    ASSERT_NO_FATAL_FAILURE(expectGoodSession());
  }
}

TEST_F(BadInput, RandomTextsInWellFormedRequestsAreRefusedToTheirClient) {
  start();
  std::mt19937 random = support::randomNumbers();
  ASSERT_TRUE(client.createSession("s").ok());
  const std::string good = topicPayload();
  std::vector<BusClient::Pending> replies;
  const std::size_t count = support::scaled(1000);
  for (std::size_t i = 0; i < count; ++i) {
    std::string payload = good;
    payload[below(random, payload.size())] = static_cast<char>(1 + below(random, 127));
    // Whatever the byte makes of it, what follows is too much.
    replies.push_back(client.sendHandleRequest("s", payload + "]"));
  }
  for (const BusClient::Pending& reply : replies) {
    EXPECT_TRUE(BusClient::await(reply).ok());
  }
  ASSERT_TRUE(streaming.waitForCalls(count));
  EXPECT_EQ(streaming.calls("SendErrorResponse").size(), count);
  ASSERT_NO_FATAL_FAILURE(expectGoodSession());
}

TEST_F(BadInput, ReasonThatCutsACharacterInTwoStillReachesTheClient) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  EXPECT_TRUE(client.handleRequest("s", "{\"e\\u00\xf0\x9f\x98\x80\"}").ok());
  ASSERT_TRUE(streaming.waitForCalls(1));
  EXPECT_EQ(streaming.calls()[0].method, "SendErrorResponse");
  EXPECT_THAT(
      streaming.calls()[0].arguments.back(),
      ::testing::HasSubstr("Invalid event datasource payload: Failed to decode JSON string"));
  ASSERT_NO_FATAL_FAILURE(expectGoodSession());
}

TEST_F(BadInput, TextsUpToTheSizeThatTheBusTakesAreAnswered) {
  start();
  for (const std::size_t megabytes : {1U, 8U, 30U}) {
    const std::string text(megabytes * 1024 * 1024, 'x');
    EXPECT_TRUE(client.createSession(text).ok());
    EXPECT_TRUE(client.handleRequest(text, "rubbish").ok());
    ASSERT_TRUE(streaming.waitForCalls(1));
    EXPECT_EQ(streaming.calls()[0].method, "SendErrorResponse");
    EXPECT_EQ(streaming.calls()[0].arguments[0].size(), text.size());
    EXPECT_TRUE(client.removeSession(text).ok());
    ASSERT_NO_FATAL_FAILURE(expectGoodSession());
  }
}

TEST_F(BadInput, CallsThatAreNoneCostTheirSenderItsConnectionAndNobodyElse) {
  start();
  const std::vector<std::pair<const char*, const char*>> kSpoilt = {
      {"/com/ovra", "/com//vra"},
      {"com.ovra.WSDataStreaming1.Data", "com..vra"},
      {"RemoveSession", "Remove.ession"},
      {"session\0", "sess\xffon"},
      {"/com/ovra", "com/ovra/"}};
  for (const auto& [text, spoilt] : kSpoilt) {
    const auto foreigner = bus.connect();
    ASSERT_NO_FATAL_FAILURE(sendSpoilt(foreigner.get(), text, spoilt));
    EXPECT_TRUE(support::waitFor([&] { return g_dbus_connection_is_closed(foreigner.get()); }))
        << spoilt;
    ASSERT_NO_FATAL_FAILURE(expectGoodSession());
  }
}

}  // namespace integration
