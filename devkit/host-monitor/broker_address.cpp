// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/host-monitor/broker_address.h"

#include <glib.h>

namespace host_monitor {
namespace {

constexpr int kDefaultPort = 1883;
constexpr const char* kUnix = "unix:";

}  // namespace

std::optional<BrokerAddress> BrokerAddress::parse(const std::string& text) {
  if (text.rfind(kUnix, 0) == 0) {
    const std::string path = text.substr(std::string(kUnix).size());
    return path.empty() || path[0] != '/' ? std::nullopt
                                          : std::optional(BrokerAddress{path, 0, text});
  }
  std::string host = text;
  int port = kDefaultPort;
  const std::string::size_type bracket = text.rfind(']');
  const std::string::size_type colon = text.rfind(':');
  const bool bareIpv6 = bracket == std::string::npos && text.find(':') != colon;
  if (colon != std::string::npos && !bareIpv6 &&
      (bracket == std::string::npos || colon > bracket)) {
    guint64 number = 0;
    if (!g_ascii_string_to_unsigned(text.c_str() + colon + 1, 10, 1, G_MAXUINT16, &number,
                                    nullptr)) {
      return std::nullopt;
    }
    port = static_cast<int>(number);
    host.resize(colon);
  }
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
    host = host.substr(1, host.size() - 2);
  }
  if (host.empty() || host.find_first_of("[]/ ") != std::string::npos) {
    return std::nullopt;
  }
  return BrokerAddress{host, port, text};
}

}  // namespace host_monitor
