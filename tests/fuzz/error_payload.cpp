// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <glib-object.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "dbus/generated_ws_service_dbus.h"
#include "input/input_handler.h"
#include "service/ws_service_dbus.h"
#include "tests/fuzz/fuzz_check.h"

// What the client of the streaming service calls, in place of a bus: the linker's --wrap.
namespace {
std::string sent;
}  // namespace

#pragma GCC visibility push(default)
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes the names.
GDBusConnection* __wrap_g_bus_get_sync(GBusType, GCancellable*, GError**);
GObject* __wrap_wsdata_streaming1_service_proxy_new_sync(GDBusConnection*, GDBusProxyFlags,
                                                         const char*, const char*, GCancellable*,
                                                         GError**);
void __wrap_wsdata_streaming1_service_call_send_error_response(
    WSDataStreaming1Service*, const char*, const char*, const char*, const char*, const char*,
    const char* payload, GCancellable*, GAsyncReadyCallback, void*);

/// Only handed on, never looked into.
GDBusConnection* __wrap_g_bus_get_sync(GBusType, GCancellable*, GError**) {
  static GObject* const connection = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
  return reinterpret_cast<GDBusConnection*>(connection);
}
GObject* __wrap_wsdata_streaming1_service_proxy_new_sync(GDBusConnection*, GDBusProxyFlags,
                                                         const char*, const char*, GCancellable*,
                                                         GError**) {
  return G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
}
void __wrap_wsdata_streaming1_service_call_send_error_response(
    WSDataStreaming1Service*, const char*, const char*, const char*, const char*, const char*,
    const char* payload, GCancellable*, GAsyncReadyCallback, void*) {
  sent = payload;
}
// NOLINTEND(bugprone-reserved-identifier)
}
#pragma GCC visibility pop

namespace {

/// The payload of an error, and that it is what clients know: nothing added, escaped or left out.
void check(std::int32_t code, const std::string& message) {
  static WSServiceDBus service;
  service.sendErrorResponse("s", "1.0", "r", "events", "configure", code, message.c_str());
  const std::string start = "{\"code\":";
  FUZZ_CHECK(sent.compare(0, start.size(), start) == 0);
  std::size_t digits = 0;
  FUZZ_CHECK(std::stoi(sent.substr(start.size()), &digits) == code);
  FUZZ_CHECK(sent.substr(start.size() + digits) == ",\"message\":\"" + message + "\"}");
  // A bus takes nothing else.
  FUZZ_CHECK(g_utf8_validate(sent.c_str(), -1, nullptr));
}

}  // namespace

/// Whatever text a caller sends, as far as a bus lets it pass: what goes back to the client as the
/// reason of a refusal, or as a text of the caller's own, arrives byte for byte.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::int32_t code = 0;
  if (size < sizeof code) {
    return 0;
  }
  std::memcpy(&code, data, sizeof code);
  const std::string text =
      std::string(reinterpret_cast<const char*>(data) + sizeof code, size - sizeof code).c_str();
  if (!g_utf8_validate(text.c_str(), -1, nullptr)) {
    return 0;
  }
  check(code, text);
  std::string reason;
  if (!InputHandler::validatePayload(text.c_str(), reason)) {
    check(code, "Invalid event datasource payload: " + reason);
  }
  return 0;
}
