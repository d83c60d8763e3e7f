// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <dbus/generated_ws_service_dbus.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "common/ptr.h"
#include "service/dbus_names.h"
#include "tests/support/glib_test.h"
#include "user_bus.h"

namespace {

constexpr const char* kStranger = "nobody";
constexpr const char* kDenied = "org.freedesktop.DBus.Error.AccessDenied";

std::string createSession(GDBusConnection* connection, const char* destination) {
  return call(connection, destination, dbus_names::kDataSourceObjectPath,
              "com.ovra.WSDataStreaming1.DataSource", "CreateSession",
              g_variant_new("(sas)", "s", nullptr));
}

std::string sendStreamData(GDBusConnection* connection) {
  return call(connection, dbus_names::kServiceBusName, dbus_names::kServiceObjectPath,
              "com.ovra.WSDataStreaming1.Service", "SendStreamData",
              g_variant_new("(sssss)", "s", "1.0", "events", "notify", "{}"));
}

/// The user id behind a name, or -1.
long ownerOf(GDBusConnection* connection, const char* name) {
  const common::Ptr<GVariant, g_variant_unref> reply(g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "GetConnectionUnixUser", g_variant_new("(s)", name), G_VARIANT_TYPE("(u)"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  guint32 uid = 0;
  if (reply == nullptr) {
    return -1;
  }
  g_variant_get(reply.get(), "(u)", &uid);
  return static_cast<long>(uid);
}

struct Answer {
  std::string sender;
  bool arrived = false;
};

gboolean onSendErrorResponse(WSDataStreaming1Service* object, GDBusMethodInvocation* invocation,
                             const char* /*sessionId*/, const char* /*version*/,
                             const char* /*requestId*/, const char* /*sourceId*/,
                             const char* /*method*/, const char* /*payload*/, void* userData) {
  auto* answer = static_cast<Answer*>(userData);
  answer->sender = g_dbus_method_invocation_get_sender(invocation);
  answer->arrived = true;
  wsdata_streaming1_service_complete_send_error_response(object, invocation);
  return TRUE;
}

/// Stands as the streaming service and writes "ready" when its name is its own, then serves.
std::string standAsStreamingService(GDBusConnection* connection) {
  WSDataStreaming1Service* skeleton = wsdata_streaming1_service_skeleton_new();
  g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(skeleton), connection,
                                   dbus_names::kServiceObjectPath, nullptr);
  return requestName(connection, dbus_names::kServiceBusName);
}

class PolicyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "only root can act as several users";
    }
    bus_ = std::make_unique<UserBus>();
  }

  /// Starts the service and waits until it is on the bus.
  void startService() {
    service_ = bus_->startService(SERVICE_USER);
    ASSERT_EQ(bus_->ask(kStranger,
                        [](GDBusConnection* connection) {
                          return waitForName(connection, dbus_names::kDataSourceBusName)
                                     ? std::string("there")
                                     : std::string("not there");
                        }),
              "there");
  }

  /// Starts a streaming service that answers nothing but owns its name.
  void startStreamingService() {
    streaming_ = bus_->start(STREAMING_USER, [](GDBusConnection* connection) -> std::string {
      const std::string owned = standAsStreamingService(connection) + "\n";
      if (write(STDOUT_FILENO, owned.data(), owned.size()) < 0) {
        return "cannot write";
      }
      turnForever();
    });
    ASSERT_EQ(streaming_->readLine(), "ok");
  }

  [[noreturn]] static void turnForever() {
    while (true) {
      g_main_context_iteration(nullptr, TRUE);
    }
  }

  std::unique_ptr<UserBus> bus_;
  std::unique_ptr<ChildProcess> service_;
  std::unique_ptr<ChildProcess> streaming_;
};

TEST_F(PolicyTest, AStrangerMayNotCallTheDataSource) {
  startService();
  const auto errand = [](GDBusConnection* connection) {
    return createSession(connection, dbus_names::kDataSourceBusName);
  };
  EXPECT_EQ(bus_->ask(kStranger, errand), kDenied);
  EXPECT_EQ(bus_->ask("root", errand), kDenied) << "root is not the streaming service here";
}

TEST_F(PolicyTest, AStrangerMayNotCallTheDataSourceByItsConnectionEither) {
  startService();
  EXPECT_EQ(
      bus_->ask(kStranger,
                [](GDBusConnection* connection) {
                  const common::Ptr<GVariant, g_variant_unref> reply(g_dbus_connection_call_sync(
                      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                      "org.freedesktop.DBus", "GetNameOwner",
                      g_variant_new("(s)", dbus_names::kDataSourceBusName), G_VARIANT_TYPE("(s)"),
                      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
                  const char* owner = nullptr;
                  g_variant_get(reply.get(), "(&s)", &owner);
                  return createSession(connection, owner);
                }),
      kDenied);
}

TEST_F(PolicyTest, AStrangerMayNotLookIntoTheDataSource) {
  startService();
  EXPECT_EQ(bus_->ask(kStranger,
                      [](GDBusConnection* connection) {
                        return call(connection, dbus_names::kDataSourceBusName,
                                    dbus_names::kDataSourceObjectPath,
                                    "org.freedesktop.DBus.Introspectable", "Introspect", nullptr);
                      }),
            kDenied);
}

TEST_F(PolicyTest, EachNameBelongsToItsUserAlone) {
  const auto own = [this](const char* user, const char* name) {
    return bus_->ask(user,
                     [name](GDBusConnection* connection) { return requestName(connection, name); });
  };
  EXPECT_EQ(own(SERVICE_USER, dbus_names::kDataSourceBusName), "ok");
  EXPECT_EQ(own(STREAMING_USER, dbus_names::kDataSourceBusName), kDenied);
  EXPECT_EQ(own(kStranger, dbus_names::kDataSourceBusName), kDenied);
  EXPECT_EQ(own("root", dbus_names::kDataSourceBusName), kDenied);

  EXPECT_EQ(own(STREAMING_USER, dbus_names::kServiceBusName), "ok");
  EXPECT_EQ(own(SERVICE_USER, dbus_names::kServiceBusName), kDenied);
  EXPECT_EQ(own(kStranger, dbus_names::kServiceBusName), kDenied);
}

TEST_F(PolicyTest, AStrangerMayNotSendToTheStreamingServiceInTheDataSourcesStead) {
  startStreamingService();
  EXPECT_EQ(bus_->ask(kStranger, sendStreamData), kDenied);
}

TEST_F(PolicyTest, TheServiceMayUseNothingOfTheStreamingServiceButWhatItNeeds) {
  startStreamingService();
  const auto callInterface = [this](const char* interface) {
    return bus_->ask(SERVICE_USER, [interface](GDBusConnection* connection) {
      return call(connection, dbus_names::kServiceBusName, dbus_names::kServiceObjectPath,
                  interface, "Anything", nullptr);
    });
  };
  EXPECT_EQ(callInterface("com.ovra.WSDataStreaming1.Admin"), kDenied);
  EXPECT_EQ(callInterface("com.ovra.WSDataStreaming1.Service"),
            "org.freedesktop.DBus.Error.UnknownMethod");
}

TEST_F(PolicyTest, AProxyOfTheServicesUserReadsThePropertiesOfTheStreamingService) {
  startStreamingService();
  EXPECT_EQ(bus_->ask(SERVICE_USER,
                      [](GDBusConnection* connection) {
                        return call(connection, dbus_names::kServiceBusName,
                                    dbus_names::kServiceObjectPath,
                                    "org.freedesktop.DBus.Properties", "GetAll",
                                    g_variant_new("(s)", "com.ovra.WSDataStreaming1.Service"));
                      }),
            "ok");
}

TEST_F(PolicyTest, TheStreamingServiceCallsAndIsAnsweredByTheServicesOwnUser) {
  startService();
  const std::string result = bus_->ask(STREAMING_USER, [](GDBusConnection* connection) {
    Answer answer;
    WSDataStreaming1Service* skeleton = wsdata_streaming1_service_skeleton_new();
    g_signal_connect_data(skeleton, "handle-send-error-response", G_CALLBACK(onSendErrorResponse),
                          &answer, nullptr, GConnectFlags{});
    g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(skeleton), connection,
                                     dbus_names::kServiceObjectPath, nullptr);
    const std::string owned = requestName(connection, dbus_names::kServiceBusName);
    const std::string created = createSession(connection, dbus_names::kDataSourceBusName);
    const std::string handled =
        call(connection, dbus_names::kDataSourceBusName, dbus_names::kDataSourceObjectPath,
             "com.ovra.WSDataStreaming1.DataSource", "HandleRequest",
             g_variant_new("(ssssss)", "s", "no version", "1", "events", "configure", "{}"));
    if (!support::waitFor([&answer] { return answer.arrived; })) {
      return "owned " + owned + ", created " + created + ", handled " + handled + ", no answer";
    }
    return "answered by " + std::to_string(ownerOf(connection, answer.sender.c_str()));
  });
  EXPECT_EQ(result, "answered by " + std::to_string(getpwnam(SERVICE_USER)->pw_uid));
}

}  // namespace
