// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>
#include <sys/types.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "common/ptr.h"

namespace support {

/// The answer to a call as it came over the bus.
struct Reply {
  bool arrived = false;
  /// "" of a method return, else the D-Bus error name.
  std::string errorName;
  /// The bare text of an error.
  std::string errorMessage;
  std::string signature;
  /// The sender's own count of its messages: orders this reply among them.
  std::uint32_t serial = 0;
  /// The values of a method return as text, for instance "()".
  std::string body;
  /// The first of them, if it is a text.
  std::string text;

  bool ok() const { return arrived && errorName.empty(); }
};
std::ostream& operator<<(std::ostream& out, const Reply& reply);

/// A caller of the data source on a connection of its own.
class BusClient {
 public:
  explicit BusClient(common::GObjectPtr<GDBusConnection> connection);
  ~BusClient();
  BusClient(const BusClient&) = delete;
  BusClient& operator=(const BusClient&) = delete;

  /// The reply to a call that was sent; arrives while the main context turns.
  using Pending = std::shared_ptr<Reply>;

  // Sends and goes on.
  Pending sendCreateSession(const std::string& id, const std::vector<std::string>& groups = {});
  Pending sendRemoveSession(const std::string& id);
  Pending sendHandleRequest(const std::string& id, const std::string& payload,
                            const std::string& requestId = "r1", const std::string& version = "1.0",
                            const std::string& source = "events",
                            const std::string& method = "configure");
  /// Any call; `arguments` is a tuple, consumed if floating, or null.
  Pending send(const std::string& destination, const std::string& path,
               const std::string& interface, const std::string& method, GVariant* arguments);

  // Sends and waits for the reply, turning the main context.
  Reply createSession(const std::string& id, const std::vector<std::string>& groups = {});
  Reply removeSession(const std::string& id);
  Reply handleRequest(const std::string& id, const std::string& payload,
                      const std::string& requestId = "r1", const std::string& version = "1.0",
                      const std::string& source = "events",
                      const std::string& method = "configure");
  Reply call(const std::string& destination, const std::string& path, const std::string& interface,
             const std::string& method, GVariant* arguments);
  static Reply await(const Pending& pending);

  /// Returns when the service has taken in every call sent before. The thread that reads its
  /// connection answers, so this works also while its main thread is held.
  void barrier();
  /// The unique name of a bus name's owner, or "".
  std::string ownerOf(const std::string& busName);
  /// The unique name of a process's connection, or "".
  std::string connectionOf(pid_t process);
  /// Whom calls of the data source go to: its bus name unless set.
  void setDestination(const std::string& destination) { destination_ = destination; }
  GDBusConnection* connection() const { return connection_.get(); }

 private:
  static void onReply(GObject* source, GAsyncResult* result, gpointer data);

  common::GObjectPtr<GDBusConnection> connection_;
  std::string destination_;
};

}  // namespace support
