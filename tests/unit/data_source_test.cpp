// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "dbus/generated_ws_event_dbus.h"
#include "events/event_consumer_handler.h"
#include "service/event_data_source_dbus.h"
#include "tests/support/bus_client.h"
#include "tests/unit/bus_fixture.h"
#include "tests/unit/consumer_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using unit::takeRecord;

namespace {

constexpr const char* kName = "com.ovra.WSEventDataSource1";
constexpr const char* kPath = "/com/ovra/WSEventDataSource1";
constexpr const char* kExported = "export(/com/ovra/WSEventDataSource1) = TRUE";
constexpr const char* kOwned =
    "log(64, no domain, Registered the name com.ovra.WSEventDataSource1 on dbus)";
constexpr const char* kRefused =
    "log(256, no domain, Failed to register the name com.ovra.WSEventDataSource1 on dbus)";
/// GLib's own words when there is nothing to unexport.
constexpr const char* kNothingExported = "log(8, GLib-GIO, g_dbus_interface_skeleton_unexport:";

class DataSourceTest : public unit::BusTest {
 protected:
  // Calls may go to the process by its unique name, too.
  DataSourceTest()
      : BusTest("<policy context=\"mandatory\"><allow send_destination=\"*\"/></policy>") {
    EventConsumerHandler::sessions.clear();
    handler_ = std::make_unique<EventConsumerHandler>(&wsService_);
    takeRecord();
  }
  ~DataSourceTest() override {
    source_.reset();
    handler_.reset();
    takeRecord();
    EventConsumerHandler::sessions.clear();
  }

  void create() { source_ = std::make_unique<EventDataSourceDBus>(handler_.get()); }
  /// What happens while the data source goes; afterwards nothing may, however often the main
  /// context turns.
  std::vector<std::string> destroy() {
    source_.reset();
    std::vector<std::string> record = takeRecord();
    unit::turnMainContext();
    EXPECT_THAT(takeRecord(), IsEmpty());
    return record;
  }

  static void onRefused(GDBusConnection* /*connection*/, const char* /*name*/, void* data) {
    static_cast<DataSourceTest*>(data)->refused_ = true;
  }

  unit::RecordingWSServiceDBus wsService_;
  std::unique_ptr<EventConsumerHandler> handler_;
  std::unique_ptr<EventDataSourceDBus> source_;
  bool refused_ = false;
};

TEST_F(DataSourceTest, ExportsTheObjectBeforeItOwnsTheName) {
  create();
  EXPECT_THAT(takeRecord(), IsEmpty());
  ASSERT_TRUE(waitForRecord("the name"));
  EXPECT_THAT(takeRecord(), ElementsAre(kExported, kOwned));
  EXPECT_EQ(support::BusClient(bus_.connect()).ownerOf(kName),
            g_dbus_connection_get_unique_name(connection_));
}

TEST_F(DataSourceTest, GivesUpNameAndObjectBeforeItsDestructorReturns) {
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  takeRecord();
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
  support::BusClient client(bus_.connect());
  EXPECT_EQ(client.ownerOf(kName), "");
  client.setDestination(g_dbus_connection_get_unique_name(connection_));
  EXPECT_EQ(client.createSession("s").errorName, "org.freedesktop.DBus.Error.UnknownMethod");
}

TEST_F(DataSourceTest, FreesItsObject) {
  static unsigned freed;
  static void (*finalize)(GObject*);
  freed = 0;
  const common::Ptr<void, g_type_class_unref> type(
      g_type_class_ref(TYPE_WSDATA_STREAMING1_DATA_SOURCE_SKELETON));
  GObjectClass* const object = G_OBJECT_CLASS(type.get());
  finalize = object->finalize;
  object->finalize = [](GObject* skeleton) {
    ++freed;
    finalize(skeleton);
  };
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  takeRecord();
  EXPECT_EQ(freed, 0U);
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
  EXPECT_EQ(freed, 1U);
  object->finalize = finalize;
}

TEST_F(DataSourceTest, CanComeAndGoAgain) {
  for (int round = 0; round < 3; ++round) {
    create();
    ASSERT_TRUE(waitForRecord("the name"));
    EXPECT_THAT(takeRecord(), ElementsAre(kExported, kOwned));
    EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
  }
}

TEST_F(DataSourceTest, KeepsItsObjectAndLeavesTheNameToAnOwnerWhoWouldGiveItUp) {
  const auto other = bus_.connect();
  const guint id =
      g_bus_own_name_on_connection(other.get(), kName, G_BUS_NAME_OWNER_FLAGS_ALLOW_REPLACEMENT,
                                   nullptr, nullptr, nullptr, nullptr);
  support::BusClient client(bus_.connect());
  ASSERT_TRUE(support::waitFor([&] { return !client.ownerOf(kName).empty(); }));
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  EXPECT_THAT(takeRecord(), ElementsAre(kExported, kRefused));
  EXPECT_EQ(client.ownerOf(kName), g_dbus_connection_get_unique_name(other.get()));
  client.setDestination(g_dbus_connection_get_unique_name(connection_));
  EXPECT_TRUE(client.createSession("s").ok());
  takeRecord();
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
  g_bus_unown_name(id);
  unit::turnMainContext();
  takeRecord();
}

TEST_F(DataSourceTest, KeepsItsNameFromOneWhoWouldReplaceIt) {
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  takeRecord();
  const auto other = bus_.connect();
  const guint id = g_bus_own_name_on_connection(
      other.get(), kName,
      GBusNameOwnerFlags(G_BUS_NAME_OWNER_FLAGS_REPLACE | G_BUS_NAME_OWNER_FLAGS_DO_NOT_QUEUE),
      nullptr, onRefused, this, nullptr);
  EXPECT_TRUE(support::waitFor([this] { return refused_; }));
  EXPECT_EQ(support::BusClient(bus_.connect()).ownerOf(kName),
            g_dbus_connection_get_unique_name(connection_));
  EXPECT_THAT(takeRecord(), IsEmpty());
  g_bus_unown_name(id);
  takeRecord();
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
}

TEST_F(DataSourceTest, GetsTheNameWhenItsOwnerGoes) {
  auto other = bus_.connect();
  const guint id = g_bus_own_name_on_connection(other.get(), kName, G_BUS_NAME_OWNER_FLAGS_NONE,
                                                nullptr, nullptr, nullptr, nullptr);
  support::BusClient client(bus_.connect());
  ASSERT_TRUE(support::waitFor([&] { return !client.ownerOf(kName).empty(); }));
  create();
  ASSERT_TRUE(waitForRecord("Failed to register the name"));
  g_bus_unown_name(id);
  ASSERT_TRUE(waitForRecord("Registered the name"));
  EXPECT_THAT(takeRecord(), ElementsAre(kExported, kRefused, "unown()", kOwned));
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
}

TEST_F(DataSourceTest, UnexportsOnceWhenTheLoopNeverRan) {
  create();
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()", StartsWith(kNothingExported)));
}

TEST_F(DataSourceTest, UnexportsOnceWhenTheObjectIsThereAndTheNameIsStillOnItsWay) {
  create();
  ASSERT_TRUE(waitForRecord("export("));
  takeRecord();
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
  EXPECT_EQ(support::BusClient(bus_.connect()).ownerOf(kName), "");
}

TEST_F(DataSourceTest, GoesOnWhenItsPathIsTaken) {
  const common::GObjectPtr<WSDataStreaming1DataSource> squatter(
      wsdata_streaming1_data_source_skeleton_new());
  ASSERT_TRUE(g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(squatter.get()),
                                               connection_, kPath, nullptr));
  takeRecord();
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  EXPECT_THAT(
      takeRecord(),
      ElementsAre("export(/com/ovra/WSEventDataSource1) = FALSE",
                  "log(256, no domain, Failed to register D-Bus object "
                  "'/com/ovra/WSEventDataSource1': An object is already exported for the interface "
                  "com.ovra.WSDataStreaming1.DataSource at /com/ovra/WSEventDataSource1)",
                  kOwned));
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()", StartsWith(kNothingExported)));
  // The other object is untouched.
  g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(squatter.get()));
  EXPECT_THAT(takeRecord(), ElementsAre("unexport()"));
}

TEST_F(DataSourceTest, LosesItsNameWithTheBusAndGoesInOrder) {
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  takeRecord();
  bus_.kill();
  ASSERT_TRUE(waitForRecord("the name"));
  EXPECT_THAT(takeRecord(), ElementsAre(kRefused));
  EXPECT_THAT(destroy(), ElementsAre("unown()", "unexport()"));
}

TEST_F(DataSourceTest, DispatchesACallThatIsAlreadyThereToALivingHandlerOrNotAtAll) {
  create();
  ASSERT_TRUE(waitForRecord("the name"));
  support::BusClient client(bus_.connect());
  const auto pending = client.sendCreateSession("late");
  readCallsOf(client);
  takeRecord();
  const auto record = destroy();
  EXPECT_THAT(record, testing::Contains("unexport()"));
  EXPECT_EQ(std::count(record.begin(), record.end(), "unexport()"), 1);
  EXPECT_TRUE(support::BusClient::await(pending).arrived);
}

TEST_F(DataSourceTest, RegistersTheErrorsThatCallersGet) {
  create();
  EXPECT_STREQ(g_quark_to_string(EventDataSourceDBus::errorQuark()), "WebSocketEventError");
  const char* const names[] = {"SessionAlreadyUsed", "TooManySessions", "InvalidSession",
                               "InvalidSource"};
  for (int code = 0; code < 4; ++code) {
    const std::string name =
        std::string("com.ovra.WSDataStreaming1.DataSource.Error.") + names[code];
    const common::GErrorPtr error(g_dbus_error_new_for_dbus_error(name.c_str(), "text"));
    EXPECT_TRUE(g_error_matches(error.get(), EventDataSourceDBus::errorQuark(), code)) << name;
  }
  destroy();
}

TEST(DataSourceWithoutABus, SaysSoOnceAndGoesInOrder) {
  doubles::RecordingPlatform::instance().reset();
  g_setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", TRUE);
  const unit::RecordedLog log;
  unit::RecordingWSServiceDBus wsService;
  {
    EventConsumerHandler handler(&wsService);
    EventDataSourceDBus source(&handler);
    takeRecord();
    ASSERT_TRUE(
        support::waitFor([] { return !doubles::RecordingPlatform::instance().calls().empty(); }));
    EXPECT_THAT(takeRecord(), ElementsAre(kRefused));
  }
  EXPECT_THAT(takeRecord(), ElementsAre("unown()", "unexport()", StartsWith(kNothingExported),
                                        "event_consumer_free(consumer1)"));
}

}  // namespace
