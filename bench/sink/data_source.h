// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "bench/sink/bus.h"

/// The service as the streaming service sees it: its name, sessions and requests.
class DataSource {
 public:
  explicit DataSource(sd_bus* bus) : bus_(bus) {}

  /// Calls back, once, with the time when the service owns its name; at once if it does.
  void awaitName(std::function<void(std::uint64_t owned)> onOwned);
  /// Opens sessions s0 to s(count-1) and configures each with the filters; returns the number
  /// for which both calls were answered without an error.
  std::uint64_t open(std::uint64_t count, const std::string& filters);
  /// Calls back with how long a call that only the service's main loop can answer took.
  void probe(std::function<void(std::uint64_t nanoseconds)> onAnswer);

 private:
  static int onOwnerChanged(sd_bus_message* message, void* userData, sd_bus_error* error);
  static int onProbeAnswer(sd_bus_message* message, void* userData, sd_bus_error* error);
  void owned();

  sd_bus* bus_;
  std::function<void(std::uint64_t)> onOwned_;
  std::function<void(std::uint64_t)> onAnswer_;
  std::uint64_t probed_ = 0;
  bool watching_ = false;
};
