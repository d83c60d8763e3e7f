// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "service/ws_service_dbus.h"
#include "tests/support/temp_dir.h"
#include "tests/unit/bus_fixture.h"

using testing::ElementsAre;
using unit::takeRecord;

namespace {

/// What the constructor throws.
std::string failConstruction() {
  try {
    const WSServiceDBus client;
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no exception";
}

TEST(ServiceClientWithoutABus, ThrowsAfterExactlyOneLine) {
  doubles::RecordingPlatform::instance().reset();
  g_setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", TRUE);
  const unit::RecordedLog log;
  EXPECT_EQ(failConstruction(), "Could not establish DBus connection");
  EXPECT_THAT(takeRecord(),
              ElementsAre("log(256, no domain, Could not establish DBus connection)"));
}

/// The bus is to start the streaming service, whose program ends at once.
class ServiceClientOfABrokenService : public unit::BusTest {
 protected:
  ServiceClientOfABrokenService() : BusTest(support::PrivateBus::activation(directory().path())) {}

  static const support::TempDir& directory() {
    static const support::TempDir directory;
    directory.write("com.ovra.WSDataStreaming1.Service.service",
                    "[D-BUS Service]\nName=com.ovra.WSDataStreaming1.Service\nExec=/bin/false\n"
                    "User=root\n");
    return directory;
  }
};

TEST_F(ServiceClientOfABrokenService, ThrowsAfterExactlyOneLine) {
  clientConnects();
  EXPECT_EQ(failConstruction(), "Could not create proxy for data streaming service");
  EXPECT_THAT(
      takeRecord(),
      ElementsAre("log(256, no domain, Could not create proxy for data streaming service)"));
}

}  // namespace
