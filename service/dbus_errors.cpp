// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "service/dbus_errors.h"

#include "common/ptr.h"

namespace dbus_errors {

void registerNames(GQuark domain, const char* const* names, std::size_t count) {
  for (std::size_t code = 0; code < count; ++code) {
    g_dbus_error_register_error(domain, static_cast<gint>(code), names[code]);
  }
}

void answer(GDBusMethodInvocation* invocation, const char* name, const std::string& message) {
  const common::GErrorPtr error(g_dbus_error_new_for_dbus_error(name, message.c_str()));
  // GLib puts "GDBus.Error:NAME: " before the text, as on an error that came in over the bus;
  // the caller gets the name anyway and the bare text with it.
  g_dbus_error_strip_remote_error(error.get());
  g_dbus_method_invocation_return_gerror(invocation, error.get());
}

}  // namespace dbus_errors
