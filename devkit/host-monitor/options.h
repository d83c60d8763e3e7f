// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

#include "devkit/host-monitor/broker_address.h"

namespace host_monitor {

struct Options {
  BrokerAddress broker;
  /// The publisher's name: what stands before "/onvif-ej/" in the MQTT topics.
  std::string prefix;
  double interval = 5;
  bool perCpu = false;
  bool once = false;
  /// How long --once waits for the broker, in seconds.
  double wait = 10;
  /// What stands before /proc, /sys and /run: empty for this machine's own.
  std::string root;

  /// Reads the command line; after a usage error, which it prints, nothing.
  static std::optional<Options> parse(int argc, char** argv);
};

}  // namespace host_monitor
