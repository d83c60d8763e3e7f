// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>
#include <utility>
#include <vector>

#include "dbus/generated_ws_service_dbus.h"
#include "tests/integration/service_test.h"
#include "tests/support/raw_client.h"

namespace integration {

using support::RawClient;
using support::Reply;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using NodeInfoPtr = common::Ptr<GDBusNodeInfo, g_dbus_node_info_unref>;

namespace {

/// "name: type" of each argument, in order.
std::vector<std::string> arguments(GDBusArgInfo** list) {
  std::vector<std::string> texts;
  for (; list != nullptr && *list != nullptr; ++list) {
    texts.push_back(std::string((*list)->name) + ": " + (*list)->signature);
    EXPECT_TRUE((*list)->annotations == nullptr || *(*list)->annotations == nullptr);
  }
  return texts;
}

using Methods = std::vector<std::pair<std::string, std::vector<std::string>>>;

Methods methods(const GDBusInterfaceInfo* interface) {
  Methods found;
  for (GDBusMethodInfo** method = interface->methods; *method != nullptr; ++method) {
    found.emplace_back((*method)->name, arguments((*method)->in_args));
    EXPECT_THAT(arguments((*method)->out_args), IsEmpty());
    EXPECT_TRUE((*method)->annotations == nullptr || *(*method)->annotations == nullptr);
  }
  return found;
}

/// No signals, no properties, no annotations.
void expectMethodsOnly(const GDBusInterfaceInfo* interface) {
  EXPECT_TRUE(interface->signals == nullptr || *interface->signals == nullptr);
  EXPECT_TRUE(interface->properties == nullptr || *interface->properties == nullptr);
  EXPECT_TRUE(interface->annotations == nullptr || *interface->annotations == nullptr);
}

}  // namespace

class Bus : public ServiceTest {
 protected:
  Reply callObject(const char* interface, const char* method, GVariant* parameters) {
    return client.call("com.ovra.WSEventDataSource1", "/com/ovra/WSEventDataSource1", interface,
                       method, parameters);
  }
  /// What dbus-send prints of a call to the data source.
  std::string dbusSend(const std::vector<std::string>& call) const {
    std::vector<std::string> command = {"dbus-send", "--bus=" + bus.address(), "--print-reply",
                                        "--dest=com.ovra.WSEventDataSource1",
                                        "/com/ovra/WSEventDataSource1"};
    command.insert(command.end(), call.begin(), call.end());
    return support::outputOf(command, {});
  }
};

TEST_F(Bus, CallerReadsExactlyTheDataSourceInterfaceFromTheObject) {
  start();
  const Reply reply = callObject("org.freedesktop.DBus.Introspectable", "Introspect", nullptr);
  const NodeInfoPtr node(g_dbus_node_info_new_for_xml(reply.text.c_str(), nullptr));
  ASSERT_NE(node, nullptr) << reply.text;
  std::vector<std::string> ours;
  for (GDBusInterfaceInfo** interface = node->interfaces; *interface != nullptr; ++interface) {
    if (!g_str_has_prefix((*interface)->name, "org.freedesktop.DBus.")) {
      ours.emplace_back((*interface)->name);
    }
  }
  EXPECT_THAT(ours, ElementsAre("com.ovra.WSDataStreaming1.DataSource"));
  const GDBusInterfaceInfo* interface =
      g_dbus_node_info_lookup_interface(node.get(), "com.ovra.WSDataStreaming1.DataSource");
  ASSERT_NE(interface, nullptr);
  expectMethodsOnly(interface);
  EXPECT_EQ(methods(interface),
            (Methods{{"CreateSession", {"session_id: s", "client_user_groups: as"}},
                     {"RemoveSession", {"session_id: s"}},
                     {"HandleRequest",
                      {"session_id: s", "version: s", "request_id: s", "source_id: s", "method: s",
                       "params_payload: s"}}}));
}

TEST(Bindings, ServiceInterfaceIsExactlyWhatTheStreamingServiceImplements) {
  const GDBusInterfaceInfo* interface = wsdata_streaming1_service_interface_info();
  EXPECT_STREQ(interface->name, "com.ovra.WSDataStreaming1.Service");
  expectMethodsOnly(interface);
  EXPECT_EQ(
      methods(interface),
      (Methods{{"SendResponse",
                {"session_id: s", "version: s", "request_id: s", "source_id: s", "method: s",
                 "data_payload: s"}},
               {"SendErrorResponse",
                {"session_id: s", "version: s", "request_id: s", "source_id: s", "method: s",
                 "error_payload: s"}},
               {"SendStreamData",
                {"session_id: s", "version: s", "source_id: s", "method: s", "data_payload: s"}}}));
}

TEST_F(Bus, SuccessfulRepliesAreEmpty) {
  start();
  for (const Reply& reply : {client.createSession("a"), client.handleRequest("a", topicPayload()),
                             client.removeSession("a")}) {
    EXPECT_TRUE(reply.ok()) << reply;
    EXPECT_EQ(reply.signature, "");
    EXPECT_EQ(reply.body, "()");
  }
}

TEST_F(Bus, RawCallerGetsFullErrorNameAndBareText) {
  start();
  RawClient raw(bus.address());
  EXPECT_EQ(raw.createSession("a").signature, "");
  Reply reply = raw.createSession("a");
  EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "SessionAlreadyUsed");
  EXPECT_EQ(reply.errorMessage, "Session a already exists");
  EXPECT_EQ(reply.signature, "s");
  reply = raw.call("RemoveSession", {"b"});
  EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "InvalidSession");
  EXPECT_EQ(reply.errorMessage, "Session b does not exist");
  reply = raw.call("HandleRequest", {"a", "1.0", "r", "other", "configure", "{}"});
  EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "InvalidSource");
  EXPECT_EQ(reply.errorMessage, "Invalid data source id. Expected: events, received: other");
  for (int i = 1; i < 32; ++i) {
    EXPECT_TRUE(raw.createSession("more" + std::to_string(i)).ok());
  }
  reply = raw.createSession("b");
  EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "TooManySessions");
  EXPECT_EQ(reply.errorMessage, "The maximum number of sessions has been exceeded");
  service.expectLog(kError, "Session a already exists");
  service.expectLog(kWarning, "Session b does not exist");
  service.expectLog(kError, "Invalid data source id. Expected: events; received: other");
  service.expectLog(kInfo, "The maximum number of sessions has been exceeded");
}

TEST_F(Bus, DbusSendShowsNamesTextsAndEmptyReplies) {
  start();
  const std::vector<std::string> create = {"com.ovra.WSDataStreaming1.DataSource.CreateSession",
                                           "string:a", "array:string:admin,user"};
  const std::string reply = dbusSend(create);
  EXPECT_THAT(reply, HasSubstr("method return"));
  EXPECT_EQ(reply.find('\n'), reply.size() - 1) << reply;
  EXPECT_EQ(dbusSend(create),
            "Error com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed:"
            " Session a already exists\n");
  service.expectLog(kError, "Session a already exists");
}

TEST_F(Bus, UnknownMethodIsRefusedBeforeAnyHandler) {
  start();
  const Reply reply = callObject("com.ovra.WSDataStreaming1.DataSource", "ListSessions", nullptr);
  EXPECT_EQ(reply.errorName, "org.freedesktop.DBus.Error.UnknownMethod");
}

TEST_F(Bus, ArgumentsOfTheWrongTypeAreRefusedBeforeAnyHandler) {
  start();
  constexpr const char* kInterface = "com.ovra.WSDataStreaming1.DataSource";
  for (const auto& [method, parameters] : std::vector<std::pair<const char*, GVariant*>>{
           {"CreateSession", g_variant_new("(s)", "a")},
           {"CreateSession", g_variant_new("(ss)", "a", "b")},
           {"RemoveSession", g_variant_new("(u)", 1)},
           {"RemoveSession", nullptr},
           {"HandleRequest", g_variant_new("(sssss)", "a", "1.0", "r", "events", "configure")}}) {
    const Reply reply = callObject(kInterface, method, parameters);
    EXPECT_EQ(reply.errorName, "org.freedesktop.DBus.Error.InvalidArgs") << method;
  }
  EXPECT_TRUE(client.createSession("a").ok());
}

TEST_F(Bus, ObjectIsThereBeforeTheName) {
  platform.hold("Registered the name");
  service.launch();
  ASSERT_TRUE(platform.waitUntilHeld("Registered the name"));
  const std::string owner = client.ownerOf("com.ovra.WSEventDataSource1");
  EXPECT_NE(owner, "");
  const auto created = client.sendCreateSession("a");
  client.barrier();
  platform.release();
  EXPECT_TRUE(support::BusClient::await(created).ok());
}

}  // namespace integration
