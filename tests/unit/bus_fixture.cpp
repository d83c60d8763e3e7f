// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/unit/bus_fixture.h"

#include <algorithm>
#include <stdexcept>

#include "common/ptr.h"
#include "service/dbus_names.h"

namespace unit {

BusTest::BusTest(const std::string& fragments) : bus_(fragments) {
  platform_.reset();
  g_setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), TRUE);
  common::GErrorPtr error;
  connection_ = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, common::GErrorOut(error));
  if (connection_ == nullptr) {
    throw std::runtime_error(error->message);
  }
  ++references_;
  // The bus ends before this process does.
  g_dbus_connection_set_exit_on_close(connection_, FALSE);
}

BusTest::~BusTest() {
  turnMainContext();
  EXPECT_THAT(takeRecord(), testing::IsEmpty());
  bus_.kill();
  g_object_add_weak_pointer(G_OBJECT(connection_), reinterpret_cast<gpointer*>(&connection_));
  GDBusConnection* const connection = connection_;
  for (; references_ > 0; --references_) {
    g_object_unref(connection);
  }
  EXPECT_TRUE(support::waitFor([this] { return connection_ == nullptr; }))
      << "something holds the connection to the bus";
  turnMainContext();
  takeRecord();
}

std::unique_ptr<WSServiceDBus> BusTest::newClient() {
  ++references_;
  return std::make_unique<WSServiceDBus>();
}

bool BusTest::waitForRecord(const std::string& text) {
  return support::waitFor([&] {
    const auto record = doubles::RecordingPlatform::instance().texts();
    return std::any_of(record.begin(), record.end(), [&](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  });
}

void BusTest::readCallsOf(const support::BusClient& client) {
  // GLib's own thread answers, and a synchronous call turns a main context of its own.
  common::GErrorPtr error;
  const common::Ptr<GVariant, g_variant_unref> pong(g_dbus_connection_call_sync(
      client.connection(), dbus_names::kDataSourceBusName, "/", "org.freedesktop.DBus.Peer", "Ping",
      nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, common::GErrorOut(error)));
  EXPECT_NE(pong, nullptr) << error->message;
}

}  // namespace unit
