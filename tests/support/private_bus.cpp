// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/private_bus.h"

#include <csignal>
#include <stdexcept>

#include "tests/support/glib_test.h"

namespace support {

common::GObjectPtr<GDBusConnection> connectToBus(const std::string& busAddress) {
  common::GErrorPtr error;
  common::GObjectPtr<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(
      busAddress.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, common::GErrorOut(error)));
  if (connection == nullptr) {
    throw std::runtime_error(std::string("cannot connect to the bus: ") + error->message);
  }
  g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
  return connection;
}

PrivateBus::PrivateBus(const std::string& fragments) {
  const std::string config = directory_.write(
      "bus.conf",
      "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN\"\n"
      " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
      "<busconfig>\n<include>" LUMENFEED_PRIVATE_BUS_CONFIG "</include>\n" +
          fragments + "\n</busconfig>\n");
  daemon_ = std::make_unique<Process>(std::vector<std::string>{
      "dbus-daemon", "--config-file=" + config, "--address=unix:path=" + directory_.file("bus"),
      "--nofork", "--nopidfile", "--print-address=1"});
  if (!waitFor([this] { return !daemon_->standardOutput().empty() || !daemon_->running(); }) ||
      daemon_->standardOutput().empty()) {
    const auto& error = daemon_->standardError();
    throw std::runtime_error("the private bus did not start: " +
                             (error.empty() ? std::string("it says nothing") : error.back()));
  }
  address_ = daemon_->standardOutput().front();
}

void PrivateBus::kill() {
  daemon_->signal(SIGKILL);
  daemon_->wait();
}

std::string PrivateBus::allowAllCalls() {
  return "<policy context=\"mandatory\"><allow send_type=\"method_call\"/></policy>\n";
}

std::string PrivateBus::activation(const std::string& directory) {
  return "<servicedir>" + directory + "</servicedir>\n";
}

}  // namespace support
