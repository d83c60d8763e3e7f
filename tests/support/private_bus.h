// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>

#include "common/ptr.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

namespace support {

/// A new connection to a bus, which does not end the process when the bus goes.
common::GObjectPtr<GDBusConnection> connectToBus(const std::string& busAddress);

/// A dbus-daemon of the test's own with the bus configuration and the policy that are shipped.
class PrivateBus {
 public:
  /// `fragments`: elements of a bus configuration, read after the shipped ones, so that their
  /// policies and limits win.
  explicit PrivateBus(const std::string& fragments = {});

  const std::string& address() const { return address_; }
  /// What makes this the system bus of a child.
  Environment environment() const { return {{"DBUS_SYSTEM_BUS_ADDRESS", address_}}; }
  common::GObjectPtr<GDBusConnection> connect() const { return connectToBus(address_); }
  /// Ends the daemon; every connection to it is closed.
  void kill();

  /// Elements that let everyone call everyone, also by unique name.
  static std::string allowAllCalls();
  /// Elements that let the bus start services, described by NAME.service files in `directory`.
  static std::string activation(const std::string& directory);

 private:
  TempDir directory_;
  std::unique_ptr<Process> daemon_;
  std::string address_;
};

}  // namespace support
