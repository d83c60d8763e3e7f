// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// For LD_PRELOAD: counts the calls that a sender has in flight, between GLib's two functions for
// it. Both are called on the sender's main thread only.

#include <dlfcn.h>
#include <gio/gio.h>

#include <algorithm>

#include "bench/common/shared_counts.h"

namespace {

std::uint64_t inFlight = 0;

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void g_dbus_proxy_call(GDBusProxy* proxy, const gchar* method, GVariant* parameters,
                       GDBusCallFlags flags, gint timeout, GCancellable* cancellable,
                       GAsyncReadyCallback callback, gpointer userData) {
  static auto* const real = next<decltype(g_dbus_proxy_call)>("g_dbus_proxy_call");
  static std::atomic<std::uint64_t>& most = bench::sharedCounts().mostInFlight;
  ++inFlight;
  most = std::max(most.load(), inFlight);
  real(proxy, method, parameters, flags, timeout, cancellable, callback, userData);
}

GVariant* g_dbus_proxy_call_finish(GDBusProxy* proxy, GAsyncResult* result, GError** error) {
  static auto* const real = next<decltype(g_dbus_proxy_call_finish)>("g_dbus_proxy_call_finish");
  --inFlight;
  ++bench::sharedCounts().answered;
  return real(proxy, result, error);
}
