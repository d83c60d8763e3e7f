// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <memory>

template <auto release>
struct SdDeleter {
  template <typename T>
  void operator()(T* object) const {
    release(object);
  }
};

using BusPtr = std::unique_ptr<sd_bus, SdDeleter<sd_bus_flush_close_unref>>;
using EventLoopPtr = std::unique_ptr<sd_event, SdDeleter<sd_event_unref>>;
using MessagePtr = std::unique_ptr<sd_bus_message, SdDeleter<sd_bus_message_unref>>;

/// Ends the process with a line that names `what`, if `result` is one of sd-bus's negative ones.
int check(int result, const char* what);
