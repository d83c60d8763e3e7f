// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// For LD_PRELOAD: counts the calls that a sender has in flight, between GLib's two functions for
// it. Both are called on the sender's main thread only.

#include <dlfcn.h>
#include <gio/gio.h>

#include <algorithm>

#include "bench/common/shared_counts.h"

namespace {

/// The counts, as a sender begins: one before it may have ended with calls in flight.
bench::SharedCounts& countsOfThisSender() {
  bench::SharedCounts& counts = bench::sharedCounts();
  counts.inFlight = 0;
  return counts;
}

bench::SharedCounts& counts() {
  static bench::SharedCounts& shared = countsOfThisSender();
  return shared;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void g_dbus_proxy_call(GDBusProxy* proxy, const gchar* method, GVariant* parameters,
                       GDBusCallFlags flags, gint timeout, GCancellable* cancellable,
                       GAsyncReadyCallback callback, gpointer userData) {
  static auto* const real = next<decltype(g_dbus_proxy_call)>("g_dbus_proxy_call");
  const std::uint64_t now = ++counts().inFlight;
  counts().mostInFlight = std::max(counts().mostInFlight.load(), now);
  real(proxy, method, parameters, flags, timeout, cancellable, callback, userData);
}

GVariant* g_dbus_proxy_call_finish(GDBusProxy* proxy, GAsyncResult* result, GError** error) {
  static auto* const real = next<decltype(g_dbus_proxy_call_finish)>("g_dbus_proxy_call_finish");
  GVariant* reply = real(proxy, result, error);
  ++counts().answered;
  --counts().inFlight;
  return reply;
}
