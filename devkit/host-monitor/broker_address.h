// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

namespace host_monitor {

/// Where the broker listens, as libmosquitto takes it.
struct BrokerAddress {
  /// A host, or the path of a Unix socket.
  std::string host;
  /// 0 for a Unix socket.
  int port = 0;
  /// As it was given, for messages.
  std::string text;

  /// From "unix:/path" or "host[:port]", where an IPv6 host with a port stands in brackets;
  /// nothing if it is neither.
  static std::optional<BrokerAddress> parse(const std::string& text);
};

}  // namespace host_monitor
