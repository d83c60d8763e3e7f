// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "service/ws_service_dbus.h"
#include "tests/doubles/recording_platform.h"
#include "tests/support/bus_client.h"
#include "tests/support/glib_test.h"
#include "tests/support/private_bus.h"
#include "tests/unit/recorded_log.h"

namespace unit {

/// A private bus that is this process's system bus. At the end nothing may hold the process's
/// connection to it, and every line of the record must have been taken.
class BusTest : public testing::Test {
 protected:
  /// `fragments`: see PrivateBus.
  explicit BusTest(const std::string& fragments = {});
  ~BusTest() override;

  /// A client of the streaming service, which must not be on the bus yet: the client would wait
  /// for it, and it for this thread.
  std::unique_ptr<WSServiceDBus> newClient();
  /// For a client whose constructor is to throw after it has connected.
  void clientConnects() { ++references_; }
  /// Turns the main context until the record has a line with this text.
  static bool waitForRecord(const std::string& text);

  /// Returns when the process has read every call that the client sent, and dispatched none.
  static void readCallsOf(const support::BusClient& client);

  doubles::RecordingPlatform& platform_ = doubles::RecordingPlatform::instance();
  support::PrivateBus bus_;
  /// The process's own.
  GDBusConnection* connection_ = nullptr;

 private:
  RecordedLog log_;
  /// What this fixture and the clients hold of the connection; a client never gives its one back.
  unsigned references_ = 0;
};

}  // namespace unit
