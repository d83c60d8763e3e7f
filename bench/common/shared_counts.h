// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <cstdint>

namespace bench {

/// What the processes of a run tell each other while it lasts, in the file that BENCH_SHARED names.
struct SharedCounts {
  /// Messages that the sink has taken since its last reset.
  std::atomic<std::uint64_t> received;
  /// Calls of the sender that have been answered. An event system in the same process keeps its
  /// window by this; no real one could.
  std::atomic<std::uint64_t> answered;
  /// The most calls that the sender had in flight at a time.
  std::atomic<std::uint64_t> mostInFlight;
  /// Those that it has in flight now; no reset changes it.
  std::atomic<std::uint64_t> inFlight;
};

/// The counts in this process. Ends the process with a clear line if the file cannot be mapped.
SharedCounts& sharedCounts();

}  // namespace bench
