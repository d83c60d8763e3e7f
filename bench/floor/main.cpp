// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// The floor: a bare loop that makes the generated call of the streaming service's SendStreamData
// for each message, and nothing else. BENCH_WINDOW is the number of calls in flight. Starts
// at SIGUSR1, then prints one JSON line; ends at SIGTERM.

#include <glib-unix.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "bench/common/load.h"
#include "bench/common/message.h"
#include "bench/common/rate_timer.h"
#include "common/api.h"
#include "common/ptr.h"
#include "dbus/generated_ws_service_dbus.h"
#include "service/dbus_names.h"

namespace {

/// Messages a turn of the loop when nothing limits the calls in flight.
constexpr std::uint64_t kBatch = 32;

class Floor {
 public:
  explicit Floor(WSDataStreaming1Service* proxy)
      : load_(bench::Load::fromEnvironment()), message_(load_.size), proxy_(proxy) {}

  void start() {
    if (load_.rate > 0) {
      timer_ = std::make_unique<bench::RateTimer>(load_.rate, G_PRIORITY_DEFAULT,
                                                  [this](std::uint64_t due) { sendUpTo(due); });
    } else if (load_.window > 0) {
      sendUpTo(load_.window);
    } else {
      g_idle_add(onIdle, this);
    }
  }

 private:
  void sendUpTo(std::uint64_t count) {
    for (; count > 0 && sent_ < load_.events; --count) {
      send();
    }
  }

  void send() {
    message_.stamp(++sent_, bench::now());
    wsdata_streaming1_service_call_send_stream_data(proxy_, "s0", api::kVersion, api::kSourceId,
                                                    api::kNotify, message_.notification().c_str(),
                                                    nullptr, onDone, this);
  }

  static gboolean onIdle(void* userData) {
    auto* self = static_cast<Floor*>(userData);
    self->sendUpTo(kBatch);
    return self->sent_ < self->load_.events;
  }

  static void onDone(GObject* source, GAsyncResult* result, void* userData) {
    auto* self = static_cast<Floor*>(userData);
    common::GErrorPtr error;
    wsdata_streaming1_service_call_send_stream_data_finish(
        reinterpret_cast<WSDataStreaming1Service*>(source), result, common::GErrorOut(error));
    self->failed_ += error != nullptr;
    ++self->done_;
    if (self->load_.rate == 0 && self->load_.window > 0) {
      self->sendUpTo(1);
    }
    if (self->done_ == self->load_.events) {
      std::printf("{\"failed\":%lu}\n", self->failed_);
      std::fflush(stdout);
    }
  }

  const bench::Load load_;
  bench::Message message_;
  WSDataStreaming1Service* proxy_;
  std::unique_ptr<bench::RateTimer> timer_;
  std::uint64_t sent_ = 0;
  std::uint64_t done_ = 0;
  std::uint64_t failed_ = 0;
};

gboolean onStart(void* userData) {
  static_cast<Floor*>(userData)->start();
  return G_SOURCE_REMOVE;
}

gboolean onStop(void* userData) {
  g_main_loop_quit(static_cast<GMainLoop*>(userData));
  return G_SOURCE_REMOVE;
}

}  // namespace

int main() {
  common::GErrorPtr error;
  const common::GObjectPtr<WSDataStreaming1Service> proxy(
      wsdata_streaming1_service_proxy_new_for_bus_sync(
          G_BUS_TYPE_SYSTEM, G_DBUS_PROXY_FLAGS_NONE, dbus_names::kServiceBusName,
          dbus_names::kServiceObjectPath, nullptr, common::GErrorOut(error)));
  if (error != nullptr) {
    std::fprintf(stderr, "floor: %s\n", error->message);
    return EXIT_FAILURE;
  }
  Floor floor(proxy.get());
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  g_unix_signal_add(SIGUSR1, onStart, &floor);
  g_unix_signal_add(SIGTERM, onStop, loop);
  std::puts(R"({"ready":true})");
  std::fflush(stdout);
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
  return EXIT_SUCCESS;
}
