// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

/// What a sender is to send; the driver says it in the environment.
struct Load {
  /// BENCH_EVENTS: how many events.
  std::uint64_t events = 0;
  /// BENCH_SIZE: bytes of the data payload that the streaming service gets.
  std::size_t size = 200;
  /// BENCH_RATE: events a second; 0 for as many as the window lets through.
  std::uint64_t rate = 0;
  /// BENCH_WINDOW: calls in flight at a time; 0 for any number.
  std::uint64_t window = 0;

  /// Ends the process with a clear line if a variable is no number or the size cannot be made.
  static Load fromEnvironment();
};

/// A variable that must be there; ends the process with a clear line if it is not.
const char* requiredVariable(const char* name);

/// CLOCK_MONOTONIC in nanoseconds: one clock for all processes of the machine.
std::uint64_t now();

}  // namespace bench
