// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <dbus/dbus.h>

#include <string>
#include <vector>

#include "tests/support/bus_client.h"

namespace support {

/// A caller that shares no code with GDBus: what libdbus sees on the wire. Blocks while it waits,
/// without turning the main context.
class RawClient {
 public:
  explicit RawClient(const std::string& address);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  /// A call to the data source with arguments that are all texts.
  Reply call(const std::string& method, const std::vector<std::string>& arguments);
  Reply createSession(const std::string& id);
  /// Owns a name, and answers nothing that comes to it.
  void own(const std::string& busName);
  /// Waits for a call of this method.
  [[nodiscard]] bool receive(const std::string& method);

 private:
  static DBusMessage* newCall(const std::string& method);
  Reply exchange(DBusMessage* call);

  DBusConnection* connection_ = nullptr;
};

}  // namespace support
