// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>

#include "bench/common/shared_counts.h"
#include "bench/sink/bus.h"
#include "bench/sink/recorder.h"

/// The streaming service on the bus: answers every call at once and records it.
class StreamingService {
 public:
  /// Owns the name and exports the object. `onFull` is called when the recorder is full.
  StreamingService(sd_bus* bus, Recorder& recorder, std::function<void()> onFull);

  void reset(std::uint64_t expected);
  std::uint64_t responses() const { return responses_; }
  std::uint64_t errorResponses() const { return errorResponses_; }
  /// Payloads that are no message of these benchmarks.
  std::uint64_t strangers() const { return strangers_; }

 private:
  static int onStreamData(sd_bus_message* message, void* userData, sd_bus_error* error);
  static int onResponseCall(sd_bus_message* message, void* userData, sd_bus_error* error);
  static int onErrorResponseCall(sd_bus_message* message, void* userData, sd_bus_error* error);

  Recorder& recorder_;
  std::function<void()> onFull_;
  bench::SharedCounts& counts_ = bench::sharedCounts();
  std::uint64_t responses_ = 0;
  std::uint64_t errorResponses_ = 0;
  std::uint64_t strangers_ = 0;
};
